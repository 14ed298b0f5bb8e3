// getHostIp against real interfaces, each test in a fresh network namespace of its own with veth cards on
// documentation addresses, so nothing reaches a real network. Without root everything is skipped.
#include <QTcpServer>
#include <QtTest>

#include <sched.h>
#include <unistd.h>

#include "xnet.h"

namespace
{
const QString mac1 = "00:00:5E:00:53:01", mac2 = "00:00:5E:00:53:02";
QStringList captured;

// What getHostIp gives, then logs, when one of several addresses was chosen with the given log line.
QStringList chosen(const QString &address, const QString &mac, const QString &line)
{
    return {"found", address, mac, "[ getHostIp ] " + line,
            QString("[ filterInvalidVpnMac ] mac(IN) = \"%1\" , hostMac(OUT) = \"%1\"").arg(mac)};
}

// TCP connections tried in this namespace: ActiveOpens, fifth value of the last "Tcp:" line.
qint64 tcpAttempts()
{
    QFile snmp("/proc/thread-self/net/snmp");
    const QByteArray text = snmp.open(QIODevice::ReadOnly) ? snmp.readAll() : QByteArray();
    return text.mid(text.lastIndexOf("Tcp:")).split(' ').value(5).toLongLong();
}

// One veth card; its peer, name + "p", has no IPv4 address and so never counts.
QStringList card(const QString &name, const QString &mac, const QStringList &cidrs)
{
    QStringList lines{"link add " + name + " type veth peer name " + name + "p",
                      "link set " + name + " address " + mac, "link set " + name + "p up"};
    for (const QString &cidr : cidrs)
        lines << "addr add " + cidr + " dev " + name;
    return lines << "link set " + name + " up";
}
} // namespace

class TestXNetNet : public QObject
{
    Q_OBJECT
    QString ipTool, hostNamespace;
    // Runs ip(8) once per line, never in the host's own namespace (namespaces belong to threads: all
    // runs on the main one, and its children inherit it); ip reports its own errors.
    bool ip(const QStringList &lines)
    {
        for (const QString &line : lines)
            if (QFile::symLinkTarget("/proc/thread-self/ns/net") == hostNamespace ||
                QProcess::execute(ipTool, line.split(' ')) != 0)
                return false;
        return true;
    }

private slots:
    void init() { captured.clear(); }
    void initTestCase()
    {
        if (::getuid() != 0)
            QSKIP("not root: these tests create network namespaces and veth pairs; run them as root");
        hostNamespace = QFile::symLinkTarget("/proc/thread-self/ns/net");
        ipTool = QStandardPaths::findExecutable("ip", {"/usr/sbin", "/sbin", "/usr/bin", "/bin"});
        if (::unshare(CLONE_NEWNET) != 0 || ipTool.isEmpty() || !ip({"link add pxt type veth"}))
            QSKIP("cannot create a network namespace with veth pairs here (or no ip(8) from iproute2)");
    }
    void hostIp_data()
    {
        QTest::addColumn<QStringList>("cards");
        QTest::addColumn<QString>("server");
        QTest::addColumn<int>("port"); // nobody listens on 9, the test on 7; -1: the three-argument form
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<int>("attempts"); // opens the kernel counts: Qt opens a refused one twice
        QTest::addColumn<int>("seconds");
        const QStringList two =
            card("pxa", mac1, {"192.0.2.10/25", "198.51.100.10/24"}) + card("pxb", mac2, {"192.0.2.200/29"});
        QTest::newRow("one address: no filter line, nothing tried")
            << card("pxa", mac1, {"192.0.2.10/24"}) << "127.0.0.1" << 9
            << QStringList(chosen("192.0.2.10", mac1, "Only got one ip").mid(0, 4)) << 0 << 0;
        QTest::newRow("second address's subnet")
            << two << "198.51.100.77" << -1
            << chosen("198.51.100.10", mac1, "InSubnet, ip = \"198.51.100.10\"") << 0 << 0;
        QTest::newRow("three-argument form, in no subnet")
            << two << "127.0.0.1" << -1 << chosen("192.0.2.10", mac1, "Return default ip") << 0 << 0;
        QTest::newRow("refusing server, one attempt per address")
            << two << "127.0.0.1" << 9 << chosen("192.0.2.10", mac1, "Return default ip") << 3 * 2 << 0;
        // The local table moved behind a rule that sends whatever leaves from 192.0.2.10 out of pxa,
        // where nobody answers: only 198.51.100.10 reaches the listener, after the first address's 3 s.
        QTest::newRow("connect pass takes the reaching address")
            << card("pxa", mac1, {"192.0.2.10/24"}) + card("pxb", mac2, {"198.51.100.10/24"}) +
                   QStringList{"rule add pref 100 lookup local", "rule del pref 0",
                               "rule add pref 10 from 192.0.2.10 lookup 10",
                               "route add default via 192.0.2.1 dev pxa table 10",
                               "neigh add 192.0.2.1 lladdr 00:00:5e:00:53:11 dev pxa nud permanent"}
            << "127.0.0.1" << 7
            << chosen("198.51.100.10", mac2, "TcpSocket Connected, ip = \"198.51.100.10\"") << 2 << 3;
    }
    void hostIp()
    {
        QFETCH(QStringList, cards);
        QFETCH(QString, server);
        QFETCH(int, port);
        QFETCH(QStringList, expected);
        QFETCH(int, attempts);
        QFETCH(int, seconds);
        QTcpServer listener;
        QVERIFY(::unshare(CLONE_NEWNET) == 0 && ip(QStringList{"link set lo up"} + cards) &&
                listener.listen(QHostAddress::LocalHost, 7));
        QString mac, address;
        qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { captured << text; });
        const qint64 before = tcpAttempts();
        const qint64 started = QDateTime::currentMSecsSinceEpoch();
        const bool found = port < 0 ? XNet::getHostIp(server, mac, address)
                                    : XNet::getHostIp(server, quint16(port), mac, address);
        qInstallMessageHandler(nullptr);
        QCOMPARE(QStringList({found ? "found" : "none", address, mac}) + captured, expected);
        QCOMPARE(qRound((QDateTime::currentMSecsSinceEpoch() - started) / 1000.0), seconds);
        QCOMPARE(tcpAttempts() - before, attempts);
    }
    void interfaceNameWithShellSyntax()
    {
        // Card names come from whoever may add a card: a VPN client, an adapter's driver.
        const QString name = "x';>pwned;'", folder = QDir::currentPath();
        QTemporaryDir here; // where a broken-out redirection would leave its file
        QVERIFY(::unshare(CLONE_NEWNET) == 0 && ip(card(name, mac1, {"192.0.2.10/24"})) &&
                QDir::setCurrent(here.path()));
        qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { captured << text; });
        QList<XNet::NetSetting> settings;
        XNet::getNetSettings(settings);
        qInstallMessageHandler(nullptr);
        QDir::setCurrent(folder);
        QVERIFY(!QFile::exists(here.filePath("pwned")));
        QCOMPARE(settings.size(), 1);
        QCOMPARE(settings[0].ip + '|' + settings[0].connection, QString("192.0.2.10|"));
        // One line for the card and one for its peer, whose name carries the same quote.
        QCOMPARE(captured.filter("refused").size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestXNetNet)
#include "tst_xnet_net.moc"
