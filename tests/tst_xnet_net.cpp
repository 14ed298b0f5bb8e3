// getHostIp against real interfaces, each test in a fresh network namespace of its own with veth cards on
// documentation addresses, so nothing reaches a real network. Without root everything is skipped.
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include "xnet.h"

namespace
{
const QString mac1 = "00:00:5E:00:53:01", mac2 = "00:00:5E:00:53:02";
QStringList captured;

// getHostIp with its log caught: found, address, hardware address, then the log lines.
// A port of -1 takes the three-argument form.
QStringList hostIp(const QString &server, int port)
{
    QString mac, address;
    captured.clear();
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { captured << text; });
    const bool found = port < 0 ? XNet::getHostIp(server, mac, address)
                                : XNet::getHostIp(server, quint16(port), mac, address);
    qInstallMessageHandler(previous);
    return QStringList{found ? "found" : "none", address, mac} + captured;
}

// What hostIp gives when one of several addresses was chosen with the given log line.
QStringList chosen(const QString &address, const QString &mac, const QString &line)
{
    return {"found", address, mac, "[ getHostIp ] " + line,
            QString("[ filterInvalidVpnMac ] mac(IN) = \"%1\" , hostMac(OUT) = \"%1\"").arg(mac)};
}

// Namespaces belong to threads: everything runs on the main thread, and the children it
// starts inherit its namespace.
ino_t namespaceId()
{
    struct stat st {
    };
    return ::stat("/proc/thread-self/ns/net", &st) == 0 ? st.st_ino : 0;
}

// Packets the loopback device has sent in the current namespace: each TCP attempt to
// 127.0.0.1 shows up here, so an unchanged count proves that nothing was tried.
qint64 loopbackPackets()
{
    QFile dev("/proc/thread-self/net/dev");
    dev.open(QIODevice::ReadOnly);
    const QByteArray text = dev.readAll();
    const QList<QByteArray> fields = text.mid(text.indexOf("lo:")).simplified().split(' ');
    return fields.size() > 10 ? fields.at(10).toLongLong() : -1; // after "lo:" and eight receive fields
}

// One veth card with its hardware address and addresses. The peer, name + "p", gets no
// IPv4 address and so never counts as a usable one.
QStringList card(const QString &name, const QString &mac, const QStringList &cidrs)
{
    QStringList lines{"link add " + name + " type veth peer name " + name + "p",
                      "link set " + name + " address " + mac};
    for (const QString &cidr : cidrs)
        lines << "addr add " + cidr + " dev " + name;
    return lines << "link set " + name + " up"
                 << "link set " + name + "p up";
}
} // namespace

class TestXNetNet : public QObject
{
    Q_OBJECT
    QString ipTool;
    ino_t hostNamespace = 0;

    // Runs ip(8) once per line, never in the host's own namespace; ip reports its own errors.
    bool ip(const QStringList &lines)
    {
        for (const QString &line : lines) {
            if (namespaceId() == hostNamespace || QProcess::execute(ipTool, line.split(' ')) != 0) {
                qWarning() << "failed: ip" << line;
                return false;
            }
        }
        return true;
    }

private slots:
    void initTestCase()
    {
        if (::getuid() != 0)
            QSKIP("not root: these tests create network namespaces and veth pairs; run them as root");
        hostNamespace = namespaceId();
        ipTool = QStandardPaths::findExecutable("ip", {"/usr/sbin", "/sbin", "/usr/bin", "/bin"});
        if (::unshare(CLONE_NEWNET) != 0 || ipTool.isEmpty() || !ip({"link add pxt type veth"}))
            QSKIP("cannot create a network namespace with veth pairs here (or no ip(8) from iproute2)");
    }
    void init()
    {
        QVERIFY(::unshare(CLONE_NEWNET) == 0);
        QVERIFY(ip({"link set lo up"}));
    }
    void hostIp_data()
    {
        QTest::addColumn<QStringList>("cards");
        QTest::addColumn<QString>("server");
        QTest::addColumn<int>("port"); // nobody listens on 9; -1: the three-argument form
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<int>("attempts"); // connections tried, as seen on the loopback device
        const QStringList two =
            card("pxa", mac1, {"192.0.2.10/25", "198.51.100.10/24"}) + card("pxb", mac2, {"192.0.2.200/29"});
        // No filter line: with a single address the hardware address goes out as reported.
        QTest::newRow("one address, nothing tried")
            << card("pxa", mac1, {"192.0.2.10/24"}) << "127.0.0.1" << 9
            << QStringList(chosen("192.0.2.10", mac1, "Only got one ip").mid(0, 4)) << 0;
        QTest::newRow("second address's subnet")
            << two << "198.51.100.77" << -1
            << chosen("198.51.100.10", mac1, "InSubnet, ip = \"198.51.100.10\"") << 0;
        QTest::newRow("three-argument form, in no subnet")
            << two << "127.0.0.1" << -1 << chosen("192.0.2.10", mac1, "Return default ip") << 0;
        QTest::newRow("refusing server, one attempt per address")
            << two << "127.0.0.1" << 9 << chosen("192.0.2.10", mac1, "Return default ip") << 3;
    }
    void hostIp()
    {
        QFETCH(QStringList, cards);
        QFETCH(QString, server);
        QFETCH(int, port);
        QFETCH(QStringList, expected);
        QFETCH(int, attempts);
        QVERIFY(ip(cards));
        QTcpSocket reference; // what one refused attempt costs on the loopback device
        qint64 before = loopbackPackets();
        reference.connectToHost("127.0.0.1", 9);
        QVERIFY(!reference.waitForConnected(3000));
        const qint64 perAttempt = loopbackPackets() - before;
        QVERIFY(perAttempt > 0);
        before = loopbackPackets();
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(::hostIp(server, port), expected);
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(loopbackPackets() - before, attempts * perAttempt);
    }
    void connectPassTakesReachingAddress()
    {
        // The local table moved behind a rule that sends whatever leaves from 192.0.2.10
        // out of pxa, where nobody answers: only 198.51.100.10 reaches the local listener.
        QVERIFY(ip(card("pxa", mac1, {"192.0.2.10/24"}) + card("pxb", mac2, {"198.51.100.10/24"}) +
                   QStringList{"rule add pref 100 lookup local", "rule del pref 0",
                               "rule add pref 10 from 192.0.2.10 lookup 10",
                               "route add default via 192.0.2.1 dev pxa table 10",
                               "neigh add 192.0.2.1 lladdr 00:00:5e:00:53:11 dev pxa nud permanent"}));
        QTcpServer listener;
        QVERIFY(listener.listen(QHostAddress::LocalHost));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(::hostIp("127.0.0.1", listener.serverPort()),
                 chosen("198.51.100.10", mac2, "TcpSocket Connected, ip = \"198.51.100.10\""));
        // The first address is tried first and given its full three seconds.
        QVERIFY(timer.elapsed() >= 2900 && timer.elapsed() < 6000);
        QVERIFY(listener.waitForNewConnection(1000));
        QCOMPARE(listener.nextPendingConnection()->peerAddress(), QHostAddress("198.51.100.10"));
    }
};

QTEST_GUILESS_MAIN(TestXNetNet)
#include "tst_xnet_net.moc"
