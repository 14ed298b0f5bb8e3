// A stand-alone management server for trying the window by hand:
//   probix_testserver <folder with server.pem and server.key> <port>
// It answers WhoAreYou over TLS on 127.0.0.1 until it is ended.
#include <QCoreApplication>
#include <QTextStream>

#include "testserver.h"

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 3) {
        QTextStream(stderr) << "usage: probix_testserver <certificate folder> <port>\n";
        return 2;
    }
    TestServer server(QString::fromLocal8Bit(argv[1]), "server");
    if (!server.start(QByteArray(argv[2]).toInt())) {
        QTextStream(stderr) << "cannot listen on 127.0.0.1:" << argv[2] << "\n";
        return 1;
    }
    QTextStream(stdout) << "listening on 127.0.0.1:" << server.port() << Qt::endl;
    return app.exec();
}
