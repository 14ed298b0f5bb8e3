// XNet against real interfaces: every test runs in a fresh network namespace of its
// own, with veth cards on documentation addresses, so nothing reaches a real network.
// Needs root; without it, or where namespaces cannot be made, everything is skipped.
#include <QNetworkInterface>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include "xnet.h"

namespace
{

QStringList captured;

void capture(QtMsgType, const QMessageLogContext &, const QString &message)
{
    captured << message;
}

struct LogCapture {
    QtMessageHandler previous;
    LogCapture() : previous(qInstallMessageHandler(capture)) { captured.clear(); }
    ~LogCapture() { qInstallMessageHandler(previous); }
};

// Namespaces belong to threads: everything below runs on the main thread, and the
// children it starts inherit its namespace.
ino_t namespaceId()
{
    struct stat st {
    };
    return ::stat("/proc/thread-self/ns/net", &st) == 0 ? st.st_ino : 0;
}

int openNamespace()
{
    return ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
}

// Packets the loopback device has sent in the current namespace: each TCP attempt to
// 127.0.0.1 shows up here, so an unchanged count proves that nothing was tried.
qint64 loopbackPackets()
{
    QFile dev("/proc/thread-self/net/dev");
    if (!dev.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : dev.readAll().split('\n')) {
        const QList<QByteArray> parts = line.simplified().split(' ');
        if (parts.size() >= 11 && parts.at(0) == "lo:")
            return parts.at(10).toLongLong();
    }
    return -1;
}

// The lines of one veth card: hardware address, addresses in CIDR form, both ends up.
// The peer, name + "p", gets no IPv4 address and so never counts as a usable one.
QStringList card(const QString &name, const QString &mac, const QStringList &cidrs)
{
    QStringList lines{"link add " + name + " type veth peer name " + name + "p",
                      "link set " + name + " address " + mac};
    for (const QString &cidr : cidrs)
        lines << "addr add " + cidr + " dev " + name;
    return lines << "link set " + name + " up"
                 << "link set " + name + "p up";
}

QString hostIpLine(const char *text, const QString &ip)
{
    return QString("[ getHostIp ] %1 \"%2\"").arg(text, ip);
}

// Every connection query of getNetSettings, in the order it may ask them.
const QStringList connectionGreps{
    "grep ipv4.method:", "grep ipv4.gateway:",        "grep -i IP4.GATEWAY:",
    "grep ipv4.dns:",    "grep -i 'IP4.DNS\\[1\\]:'", "grep -i 'IP4.DNS\\[2\\]:'"};

QString filterLine(const QString &mac)
{
    return QString("[ filterInvalidVpnMac ] mac(IN) = \"%1\" , hostMac(OUT) = \"%1\"").arg(mac);
}

} // namespace

class TestXNetNet : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void noUsableAddress();
    void oneAddressTriesNothing();
    void subnetOrDefault_data();
    void subnetOrDefault();
    void connectPassTakesReachingAddress();
    void refusingServerGivesFirstAddress();
    void netSettings_data();
    void netSettings();

private:
    bool ip(const QStringList &lines);

    QString ipTool;
    ino_t hostNamespace = 0;
    QString error;
    QByteArray path;
};

bool TestXNetNet::ip(const QStringList &lines)
{
    for (const QString &line : lines) {
        // Never configure anything outside a namespace of the test's own.
        if (namespaceId() == hostNamespace) {
            error = "still in the host's network namespace";
            return false;
        }
        QProcess proc;
        proc.start(ipTool, line.split(' '));
        if (!proc.waitForFinished(10000) || proc.exitStatus() != QProcess::NormalExit ||
            proc.exitCode() != 0) {
            error = "ip " + line + ": " + QString::fromLocal8Bit(proc.readAllStandardError()).trimmed();
            return false;
        }
    }
    return true;
}

void TestXNetNet::initTestCase()
{
    if (::getuid() != 0)
        QSKIP("not root: these tests create network namespaces and veth pairs; run them as root");
    ipTool = QStandardPaths::findExecutable("ip", {"/usr/sbin", "/sbin", "/usr/bin", "/bin"});
    if (ipTool.isEmpty())
        QSKIP("ip(8) from iproute2 not found");
    hostNamespace = namespaceId();
    if (::unshare(CLONE_NEWNET) != 0)
        QSKIP(qPrintable(QString("cannot create a network namespace: ") + std::strerror(errno)));
    if (!ip({"link add pxt type veth peer name pxtp"}))
        QSKIP(qPrintable("cannot create veth pairs here: " + error));
    path = qgetenv("PATH");
}

void TestXNetNet::init()
{
    QVERIFY(::unshare(CLONE_NEWNET) == 0);
    QVERIFY(namespaceId() != hostNamespace);
    QVERIFY2(ip({"link set lo up"}), qPrintable(error));
}

void TestXNetNet::cleanup()
{
    qputenv("PATH", path);
}

void TestXNetNet::noUsableAddress()
{
    // Loopback and IPv6 addresses do not count.
    QVERIFY2(ip({"link add pxa type veth peer name pxap", "addr add 2001:db8::10/64 dev pxa nodad",
                 "link set pxa up"}),
             qPrintable(error));
    QString hostMac = "stale", hostIp = "stale";
    LogCapture log;
    QVERIFY(!XNet::getHostIp("127.0.0.1", 80, hostMac, hostIp));
    QVERIFY(hostMac.isNull());
    QVERIFY(hostIp.isNull());
    QCOMPARE(captured, QStringList{"[ getHostIp ] Get local ip failed"});
}

void TestXNetNet::oneAddressTriesNothing()
{
    QVERIFY2(ip(card("pxa", "00:00:5e:00:53:01", {"192.0.2.10/24"})), qPrintable(error));
    // A listener the one address could reach, had a connection been tried.
    QTcpServer listener;
    QVERIFY(listener.listen(QHostAddress::LocalHost));
    const qint64 before = loopbackPackets();
    QString hostMac, hostIp;
    LogCapture log;
    QVERIFY(XNet::getHostIp("127.0.0.1", listener.serverPort(), hostMac, hostIp));
    QCOMPARE(hostIp, QString("192.0.2.10"));
    QCOMPARE(hostMac, QString("00:00:5E:00:53:01"));
    // No filter line: the hardware address goes out as the card reports it.
    QCOMPARE(captured, QStringList{"[ getHostIp ] Only got one ip"});
    QCOMPARE(loopbackPackets(), before);
}

void TestXNetNet::subnetOrDefault_data()
{
    QTest::addColumn<bool>("withServer");
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("hostIp");
    QTest::addColumn<QString>("hostMac");
    QTest::addColumn<QString>("line");
    // Linux reports hardware addresses with colons, so the VPN adapter's address on
    // the first card is not the dash spelling the filter replaces and stays as it is.
    const QString vpn = "02:50:F2:00:00:02", other = "00:00:5E:00:53:02";
    QTest::newRow("first address's subnet, vpn address kept")
        << true << "192.0.2.77"
        << "192.0.2.10" << vpn << hostIpLine("InSubnet, ip =", "192.0.2.10");
    QTest::newRow("second address on the same card")
        << true << "198.51.100.77"
        << "198.51.100.10" << vpn << hostIpLine("InSubnet, ip =", "198.51.100.10");
    QTest::newRow("address on the second card")
        << true << "192.0.2.201"
        << "192.0.2.200" << other << hostIpLine("InSubnet, ip =", "192.0.2.200");
    QTest::newRow("in no subnet") << true << "127.0.0.1"
                                  << "192.0.2.10" << vpn << "[ getHostIp ] Return default ip";
    QTest::newRow("host name never matches") << true << "localhost"
                                             << "192.0.2.10" << vpn << "[ getHostIp ] Return default ip";
    QTest::newRow("no server") << false << ""
                               << "192.0.2.10" << vpn << "[ getHostIp ] Return default ip";
}

void TestXNetNet::subnetOrDefault()
{
    QFETCH(bool, withServer);
    QFETCH(QString, server);
    QFETCH(QString, hostIp);
    QFETCH(QString, hostMac);
    QFETCH(QString, line);
    QVERIFY2(ip(card("pxa", "02:50:f2:00:00:02", {"192.0.2.10/25", "198.51.100.10/24"}) +
                card("pxb", "00:00:5e:00:53:02", {"192.0.2.200/29"})),
             qPrintable(error));
    const qint64 before = loopbackPackets();
    QString mac, address;
    LogCapture log;
    QVERIFY(withServer ? XNet::getHostIp(server, mac, address) : XNet::getHostIp(mac, address));
    QCOMPARE(address, hostIp);
    QCOMPARE(mac, hostMac);
    QCOMPARE(captured, (QStringList{line, filterLine(hostMac)}));
    // Neither short form opens a socket, not even towards a local server.
    QCOMPARE(loopbackPackets(), before);
}

void TestXNetNet::connectPassTakesReachingAddress()
{
    // The server sits in a second namespace behind pxb. Only 198.51.100.10 is routed
    // back from there: the attempt from 192.0.2.10 gets no answer and times out.
    QVERIFY2(ip(card("pxa", "00:00:5e:00:53:01", {"192.0.2.10/25"}) +
                card("pxb", "00:00:5e:00:53:02", {"198.51.100.10/25"}) +
                QStringList{"link set pxbp address 00:00:5e:00:53:12",
                            "route add 192.0.2.128/25 via 198.51.100.1 dev pxb",
                            "neigh add 198.51.100.1 lladdr 00:00:5e:00:53:12 dev pxb nud permanent"}),
             qPrintable(error));
    const int terminal = openNamespace();
    QVERIFY(terminal >= 0);
    QVERIFY(::unshare(CLONE_NEWNET) == 0);
    const int beyond = openNamespace();
    QVERIFY(::setns(terminal, CLONE_NEWNET) == 0);
    const QString beyondPath = QString("/proc/%1/fd/%2").arg(::getpid()).arg(beyond);
    QVERIFY2(ip({"link set pxbp netns " + beyondPath}), qPrintable(error));

    QVERIFY(::setns(beyond, CLONE_NEWNET) == 0);
    QTcpServer listener; // its socket stays in the namespace it was made in
    const bool configured =
        ip({"link set lo up", "addr add 198.51.100.1/25 dev pxbp", "addr add 192.0.2.200/25 dev pxbp",
            "link set pxbp up", "neigh add 198.51.100.10 lladdr 00:00:5e:00:53:02 dev pxbp nud permanent"}) &&
        listener.listen(QHostAddress("192.0.2.200"));
    QVERIFY(::setns(terminal, CLONE_NEWNET) == 0);
    ::close(terminal);
    ::close(beyond);
    QVERIFY2(configured, qPrintable(error + listener.errorString()));

    QString hostMac, hostIp;
    QElapsedTimer timer;
    timer.start();
    LogCapture log;
    QVERIFY(XNet::getHostIp("192.0.2.200", listener.serverPort(), hostMac, hostIp));
    const qint64 elapsed = timer.elapsed();
    QCOMPARE(hostIp, QString("198.51.100.10"));
    QCOMPARE(hostMac, QString("00:00:5E:00:53:02"));
    QCOMPARE(captured, (QStringList{hostIpLine("TcpSocket Connected, ip =", "198.51.100.10"),
                                    filterLine("00:00:5E:00:53:02")}));
    // The first address is tried first and given its full three seconds.
    QVERIFY2(elapsed >= 2900 && elapsed < 6000, qPrintable(QString::number(elapsed)));
    QVERIFY(listener.waitForNewConnection(1000));
    QScopedPointer<QTcpSocket> accepted(listener.nextPendingConnection());
    QCOMPARE(accepted->peerAddress(), QHostAddress("198.51.100.10"));
}

void TestXNetNet::refusingServerGivesFirstAddress()
{
    QVERIFY2(ip(card("pxa", "00:00:5e:00:53:01", {"192.0.2.10/24"}) +
                card("pxb", "00:00:5e:00:53:02", {"198.51.100.10/24"})),
             qPrintable(error));
    QTcpServer probe; // borrow a free port, then leave nobody listening on it
    QVERIFY(probe.listen(QHostAddress::LocalHost));
    const quint16 port = probe.serverPort();
    probe.close();
    // What one refused attempt costs on the loopback device; Qt itself knocks twice.
    qint64 before = loopbackPackets();
    QTcpSocket reference;
    QVERIFY(reference.bind(QHostAddress("198.51.100.10"), 0));
    reference.connectToHost("127.0.0.1", port);
    QVERIFY(!reference.waitForConnected(3000));
    const qint64 perAttempt = loopbackPackets() - before;
    QVERIFY(perAttempt > 0);

    before = loopbackPackets();
    QString hostMac, hostIp;
    QElapsedTimer timer;
    timer.start();
    LogCapture log;
    QVERIFY(XNet::getHostIp("127.0.0.1", port, hostMac, hostIp));
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(hostIp, QString("192.0.2.10"));
    QCOMPARE(hostMac, QString("00:00:5E:00:53:01"));
    QCOMPARE(captured, (QStringList{"[ getHostIp ] Return default ip", filterLine("00:00:5E:00:53:01")}));
    // One attempt per address, no more.
    QCOMPARE(loopbackPackets() - before, 2 * perAttempt);
}

void TestXNetNet::netSettings_data()
{
    QTest::addColumn<QString>("fixture"); // empty: no nmcli at all
    QTest::addColumn<QString>("connection");
    QTest::addColumn<bool>("dhcp");
    QTest::addColumn<QStringList>("addresses"); // gateway, dns1, dns2
    QTest::addColumn<QStringList>("greps");
    const QStringList &everything = connectionGreps;
    const QString method = everything[0], gateway = everything[1], activeGateway = everything[2],
                  dns = everything[3], dns2 = everything[5];
    QTest::newRow("manual, configured gateway, two name servers")
        << "con-show-manual.txt"
        << "Wired connection 1" << false << QStringList{"192.0.2.1", "192.0.2.53", "198.51.100.53"}
        << QStringList{method, gateway, dns};
    QTest::newRow("auto, all active values")
        << "con-show-auto.txt"
        << "Wired connection 1" << true << QStringList{"192.0.2.1", "192.0.2.53", "198.51.100.53"}
        << everything;
    QTest::newRow("auto, one configured name server")
        << "con-show-auto-one-dns.txt"
        << "Wired connection 1" << true << QStringList{"192.0.2.1", "198.51.100.54", "192.0.2.53"}
        << QStringList{method, gateway, activeGateway, dns, dns2};
    QTest::newRow("unknown method word")
        << "con-show-shared.txt"
        << "Wired connection 1" << true << QStringList{"", "", ""} << everything;
    QTest::newRow("no nmcli") << ""
                              << "" << true << QStringList{"", "", ""} << everything;
}

void TestXNetNet::netSettings()
{
    QFETCH(QString, fixture);
    QFETCH(QString, connection);
    QFETCH(bool, dhcp);
    QFETCH(QStringList, addresses);
    QFETCH(QStringList, greps);
    // pxa: two addresses and its own MTU; pxb: one address, unknown to nmcli;
    // pxbp: IPv6 only; pxap: no address at all.
    QVERIFY2(ip(card("pxa", "00:00:5e:00:53:01", {"192.0.2.10/24", "192.0.2.11/24"}) +
                card("pxb", "00:00:5e:00:53:02", {"198.51.100.10/24"}) +
                QStringList{"link set pxa mtu 1400", "addr add 2001:db8::10/64 dev pxbp nodad"}),
             qPrintable(error));

    // The shell sees only these tools, so a real nmcli on the machine is never asked.
    QTemporaryDir bin;
    QVERIFY(bin.isValid());
    for (const char *tool : {"sh", "grep", "awk", "cat"})
        QVERIFY(QFile::link(QStandardPaths::findExecutable(tool), bin.filePath(tool)));
    if (!fixture.isEmpty()) {
        QVERIFY(QDir(bin.path()).mkpath("answers/device") && QDir(bin.path()).mkpath("answers/con"));
        QVERIFY(QFile::copy(PROBIX_TEST_DATA "/nmcli/device-show-connected.txt",
                            bin.filePath("answers/device/pxa")));
        QVERIFY(QFile::copy(PROBIX_TEST_DATA "/nmcli/" + fixture, bin.filePath("answers/con/" + connection)));
        QFile nmcli(bin.filePath("nmcli"));
        QVERIFY(nmcli.open(QIODevice::WriteOnly));
        nmcli.write("#!/bin/sh\n# nmcli {device|con} show NAME: prints the stored answer for NAME\n"
                    "[ -f \"" +
                    bin.filePath("answers").toLocal8Bit() + "/$1/$3\" ] && exec cat \"" +
                    bin.filePath("answers").toLocal8Bit() + "/$1/$3\"\nexit 10\n");
        nmcli.close();
        QVERIFY(nmcli.setPermissions(nmcli.permissions() | QFile::ExeOwner));
    }
    qputenv("PATH", bin.path().toLocal8Bit());

    XNet::NetSetting earlier;
    earlier.ip = "198.51.100.99";
    QList<XNet::NetSetting> settings{earlier};
    LogCapture log;
    XNet::getNetSettings(settings);

    const auto describe = [](const XNet::NetSetting &s) {
        QStringList additions;
        for (auto it = s.additions.begin(); it != s.additions.end(); ++it)
            additions << it.key() + "/" + it.value();
        return QStringList{
            s.mac,  s.connection, s.dhcp ? "dhcp" : "static", s.ip, s.mask, additions.join(','), s.gateway,
            s.dns1, s.dns2,       QString::number(s.mtu)}
            .join(" | ");
    };
    QStringList records;
    for (const XNet::NetSetting &s : settings)
        records << describe(s);
    const QStringList expected{
        describe(earlier),
        QStringList{"00:00:5E:00:53:01", connection, dhcp ? "dhcp" : "static", "192.0.2.10", "255.255.255.0",
                    "192.0.2.11/255.255.255.0", addresses[0], addresses[1], addresses[2], "1400"}
            .join(" | "),
        "00:00:5E:00:53:02 |  | dhcp | 198.51.100.10 | 255.255.255.0 |  |  |  |  | 1500"};
    QCOMPARE(records, expected);

    // Every interface is asked for its connection; only those with IPv4 go further.
    const auto commandLine = [](const QString &cmd) {
        QString quoted;
        QDebug(&quoted) << cmd;
        return "[ start ] cmd = " + quoted.trimmed() + " , workDir = \"\"";
    };
    const auto connectionQueries = [&](const QString &name, const QStringList &patterns) {
        QStringList lines;
        for (const QString &pattern : patterns)
            lines << commandLine("nmcli con show '" + name + "' | " + pattern + " | awk -F':' '{print $2}'");
        return lines;
    };
    QStringList expectedCommands;
    for (const QNetworkInterface &iface : QNetworkInterface::allInterfaces()) {
        expectedCommands << commandLine("nmcli device show '" + iface.name() +
                                        "' | grep -i GENERAL.CONNECTION: | awk -F':' '{print $2}'");
        if (iface.name() == "pxa")
            expectedCommands << connectionQueries(connection, greps);
        else if (iface.name() == "pxb")
            expectedCommands << connectionQueries("", connectionGreps);
    }
    QCOMPARE(captured.filter(QRegularExpression("^\\[ start \\] cmd =")), expectedCommands);
}

QTEST_GUILESS_MAIN(TestXNetNet)
#include "tst_xnet_net.moc"
