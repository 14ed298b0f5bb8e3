// Address checks, mask arithmetic and interface settings of XNet; the settings come
// from the machine's own interfaces with a fake nmcli in front of NetworkManager.
#include "xnet.h"
#include <QtTest>

class TestXNet : public QObject
{
    Q_OBJECT
    enum Kind { Neither, Ip, Mac };

private slots:
    void addresses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("kind"); // what the text passes for
        QTest::newRow("ip with blanks around") << "  198.51.100.7 " << int(Ip);
        QTest::newRow("ip, two-digit octet with leading zero") << "192.0.2.09" << int(Ip);
        QTest::newRow("ip, three-digit octet with leading zero") << "192.0.2.009" << int(Neither);
        QTest::newRow("mac, mixed case, blanks around") << " 0a:Bc:dE:F0:53:aF " << int(Mac);
        QTest::newRow("mac all zero") << "00:00:00:00:00:00" << int(Neither);
        QTest::newRow("mac all zero, compared untrimmed") << " 00:00:00:00:00:00" << int(Mac);
    }
    void addresses()
    {
        QFETCH(QString, text);
        QFETCH(int, kind);
        QCOMPARE(XNet::checkIp(text), kind == Ip);
        QCOMPARE(XNet::filterInvalidIp(text), kind == Ip ? text : QString()); // blanks and all
        QCOMPARE(XNet::checkMAC(text), kind == Mac);
    }
    void masks_data()
    {
        QTest::addColumn<QString>("mask");
        QTest::addColumn<int>("prefix");
        QTest::addColumn<QString>("back"); // prefixToMask(prefix), -1 taken as unsigned
        QTest::newRow("/24") << "255.255.255.0" << 24 << "255.255.255.0";
        QTest::newRow("/0") << "0.0.0.0" << 0 << "0.0.0.0";
        QTest::newRow("/32") << "255.255.255.255" << 32 << "255.255.255.255";
        QTest::newRow("octet 253") << "255.255.253.0" << -1 << "";
        QTest::newRow("256 counts one bit") << "256" << 1 << "128.0.0.0";
    }
    void masks()
    {
        QFETCH(QString, mask);
        QFETCH(int, prefix);
        QFETCH(QString, back);
        QCOMPARE(XNet::maskToPrefix(mask), prefix);
        QCOMPARE(XNet::prefixToMask(quint32(prefix)), back);
    }
    void filters()
    {
        QTest::ignoreMessage(QtWarningMsg, "[ checkIp ] Ip is invalid, ip = \"192.0.2.256\"");
        QCOMPARE(XNet::filterInvalidIp("192.0.2.256"), QString());
        const QString vpn = "02-50-f2-00-00-02", other = "00:00:5E:00:53:02";
        QTest::ignoreMessage(QtDebugMsg, "[ filterInvalidVpnMac ] mac(IN) = \"02-50-f2-00-00-02\" , "
                                         "hostMac(OUT) = \"00:00:5E:00:53:02\"");
        QCOMPARE(XNet::filterInvalidVpnMac(vpn, {"02-50-F2-00-00-02", "", other}), other);
        QCOMPARE(XNet::filterInvalidVpnMac(vpn, {vpn, ""}), vpn); // nothing else to take
    }
    void netSettings_data()
    {
        QTest::addColumn<QString>("fixture");    // empty: no nmcli on PATH at all
        QTest::addColumn<QString>("connection"); // the name nmcli gives the card's connection
        QTest::addColumn<QString>("expected");   // connection|method|gateway|dns1|dns2
        const QString wired = "Wired connection 1", values = "|%1|192.0.2.1|192.0.2.53|198.51.100.53";
        QTest::newRow("manual") << "con-show-manual.txt" << wired << wired + values.arg("static");
        QTest::newRow("auto, active values") << "con-show-auto.txt" << wired << wired + values.arg("dhcp");
        QTest::newRow("no nmcli") << QString() << wired << "|dhcp|||";
        // Any local user may name a connection; this one would run touch in every query.
        const QString hostile = "x';touch pwned;'";
        QTest::newRow("connection name with shell syntax")
            << "con-show-manual.txt" << hostile << hostile + "|dhcp|||";
    }
    void netSettings()
    {
        QFETCH(QString, fixture);
        QFETCH(QString, connection);
        QFETCH(QString, expected);
        QTemporaryDir bin; // the shell sees only these tools, so a real nmcli is never asked
        for (const char *tool : {"sh", "grep", "awk", "cat", "touch"})
            QVERIFY(QFile::link(QStandardPaths::findExecutable(tool), bin.filePath(tool)));
        if (!fixture.isEmpty()) {
            QVERIFY(QFile::copy(PROBIX_TEST_DATA "/nmcli/fake-nmcli.sh", bin.filePath("nmcli")));
            QVERIFY(QFile::setPermissions(bin.filePath("nmcli"), QFile::ReadOwner | QFile::ExeOwner));
            QFile device(PROBIX_TEST_DATA "/nmcli/device-show-connected.txt"), copy(bin.filePath("device"));
            QVERIFY(device.open(QIODevice::ReadOnly) && copy.open(QIODevice::WriteOnly));
            copy.write(device.readAll().replace("Wired connection 1", connection.toUtf8()));
            copy.close();
            QVERIFY(QFile::link(PROBIX_TEST_DATA "/nmcli/" + fixture, bin.filePath("con")));
        }
        const QByteArray path = qgetenv("PATH");
        const QString folder = QDir::currentPath();
        qputenv("PATH", QFile::encodeName(bin.path()));
        QVERIFY(QDir::setCurrent(bin.path())); // where a broken-out touch would leave its file
        QList<XNet::NetSetting> settings{XNet::NetSetting()};
        XNet::getNetSettings(settings);
        qputenv("PATH", path);
        QDir::setCurrent(folder);
        QVERIFY(!QFile::exists(bin.filePath("pwned")));
        QVERIFY(settings.takeFirst().ip.isEmpty()); // earlier records stay in front
        if (settings.isEmpty())
            QSKIP("this machine has no interface with an IPv4 address besides loopback");
        for (const XNet::NetSetting &s : qAsConst(settings)) {
            const QStringList record{s.connection, s.dhcp ? "dhcp" : "static", s.gateway, s.dns1, s.dns2};
            QVERIFY(!s.ip.isEmpty()); // only interfaces with an address get a record
            QCOMPARE(record.join('|'), expected);
        }
    }
};

QTEST_GUILESS_MAIN(TestXNet)
#include "tst_xnet.moc"
