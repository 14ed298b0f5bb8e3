// Address checks, mask arithmetic and the interface record of XNet, with the lines
// they leave in the log.
#include <QtTest>

#include "xnet.h"

namespace
{

QStringList captured;

void capture(QtMsgType, const QMessageLogContext &, const QString &message)
{
    captured << message;
}

// Installs the capturing handler for one test function and puts the old one back.
struct LogCapture {
    QtMessageHandler previous;
    LogCapture() : previous(qInstallMessageHandler(capture)) { captured.clear(); }
    ~LogCapture() { qInstallMessageHandler(previous); }
};

} // namespace

class TestXNet : public QObject
{
    Q_OBJECT

private slots:
    void checkIp_data();
    void checkIp();
    void checkMAC_data();
    void checkMAC();
    void filterInvalidVpnMac_data();
    void filterInvalidVpnMac();
    void maskToPrefix_data();
    void maskToPrefix();
    void prefixToMask_data();
    void prefixToMask();
    void printLine();
    void matches_data();
    void matches();
};

void TestXNet::checkIp_data()
{
    QTest::addColumn<QString>("ip");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("line");
    const QString invalid = "[ checkIp ] Ip is invalid, ip = \"%1\"";
    QTest::newRow("plain") << "192.0.2.1" << true << "";
    QTest::newRow("blanks around") << "  198.51.100.7 " << true << "";
    QTest::newRow("bounds") << "255.0.199.250" << true << "";
    QTest::newRow("leading zero in two digits") << "192.0.2.09" << true << "";
    QTest::newRow("leading zero in three digits") << "192.0.2.009" << false << invalid.arg("192.0.2.009");
    QTest::newRow("octet 256") << "192.0.2.256" << false << invalid.arg("192.0.2.256");
    QTest::newRow("three octets") << "192.0.2" << false << invalid.arg("192.0.2");
    QTest::newRow("blanks inside") << "192.0. 2.1" << false << invalid.arg("192.0. 2.1");
    QTest::newRow("blanks only") << "   " << false << invalid.arg("   ");
    QTest::newRow("empty") << "" << false << "[ checkIp ] Ip is empty";
    QTest::newRow("nmcli placeholder") << "--" << false << invalid.arg("--");
}

void TestXNet::checkIp()
{
    QFETCH(QString, ip);
    QFETCH(bool, valid);
    QFETCH(QString, line);
    LogCapture log;
    QCOMPARE(XNet::checkIp(ip), valid);
    QCOMPARE(captured, line.isEmpty() ? QStringList() : QStringList{line});

    // The filter hands back the text as given, blanks and all, or nothing.
    captured.clear();
    QCOMPARE(XNet::filterInvalidIp(ip), valid ? ip : QString());
    QCOMPARE(captured, line.isEmpty() ? QStringList() : QStringList{line});
}

void TestXNet::checkMAC_data()
{
    QTest::addColumn<QString>("mac");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("line");
    const QString invalid = "[ checkMAC ] Mac is invalid, mac = \"%1\"";
    QTest::newRow("upper case") << "00:00:5E:00:53:01" << true << "";
    QTest::newRow("mixed case") << "0a:Bc:dE:F0:53:aF" << true << "";
    QTest::newRow("blanks around") << " 00:00:5e:00:53:01 " << true << "";
    QTest::newRow("all zero") << "00:00:00:00:00:00" << false << "";
    QTest::newRow("all zero with blanks") << " 00:00:00:00:00:00" << true << "";
    QTest::newRow("dashes") << "02-50-F2-00-00-02" << false << invalid.arg("02-50-F2-00-00-02");
    QTest::newRow("not hex") << "00:00:5G:00:53:01" << false << invalid.arg("00:00:5G:00:53:01");
    QTest::newRow("five groups") << "00:00:5E:00:53" << false << invalid.arg("00:00:5E:00:53");
    QTest::newRow("empty") << "" << false << "[ checkMAC ] Mac is empty";
}

void TestXNet::checkMAC()
{
    QFETCH(QString, mac);
    QFETCH(bool, valid);
    QFETCH(QString, line);
    LogCapture log;
    QCOMPARE(XNet::checkMAC(mac), valid);
    QCOMPARE(captured, line.isEmpty() ? QStringList() : QStringList{line});
}

void TestXNet::filterInvalidVpnMac_data()
{
    QTest::addColumn<QString>("mac");
    QTest::addColumn<QStringList>("macList");
    QTest::addColumn<QString>("hostMac");
    const QString vpn = "02-50-F2-00-00-02";
    QTest::newRow("other address kept")
        << "00:00:5E:00:53:01" << QStringList{vpn, "00:00:5E:00:53:02"} << "00:00:5E:00:53:01";
    QTest::newRow("vpn replaced by first other card")
        << vpn << QStringList{vpn, "", "02-50-f2-00-00-02", "00:00:5E:00:53:02", "00:00:5E:00:53:03"}
        << "00:00:5E:00:53:02";
    QTest::newRow("lower case vpn, nothing else listed")
        << "02-50-f2-00-00-02" << QStringList{"02-50-f2-00-00-02", ""} << "02-50-f2-00-00-02";
    QTest::newRow("colon spelling not recognised")
        << "02:50:F2:00:00:02" << QStringList{"02:50:F2:00:00:02", "00:00:5E:00:53:02"}
        << "02:50:F2:00:00:02";
    QTest::newRow("empty") << "" << QStringList{"00:00:5E:00:53:02"} << "";
}

void TestXNet::filterInvalidVpnMac()
{
    QFETCH(QString, mac);
    QFETCH(QStringList, macList);
    QFETCH(QString, hostMac);
    LogCapture log;
    QCOMPARE(XNet::filterInvalidVpnMac(mac, macList), hostMac);
    QCOMPARE(
        captured,
        QStringList{
            QString("[ filterInvalidVpnMac ] mac(IN) = \"%1\" , hostMac(OUT) = \"%2\"").arg(mac, hostMac)});
}

void TestXNet::maskToPrefix_data()
{
    QTest::addColumn<QString>("mask");
    QTest::addColumn<int>("prefix");
    QTest::newRow("/24") << "255.255.255.0" << 24;
    QTest::newRow("/20") << "255.255.240.0" << 20;
    QTest::newRow("/32") << "255.255.255.255" << 32;
    QTest::newRow("all zero") << "0.0.0.0" << 0;
    QTest::newRow("octet 253") << "255.255.253.0" << -1;
    QTest::newRow("gap between octets") << "255.0.255.0" << 16;
    QTest::newRow("full octet after empty one") << "255..255" << 16;
    QTest::newRow("256 counts one bit") << "256" << 1;
    QTest::newRow("more than 32 ones") << "255.255.255.255.255" << -1;
    QTest::newRow("not a number") << "abc" << 0;
}

void TestXNet::maskToPrefix()
{
    QFETCH(QString, mask);
    QFETCH(int, prefix);
    QCOMPARE(XNet::maskToPrefix(mask), prefix);
}

void TestXNet::prefixToMask_data()
{
    QTest::addColumn<quint32>("prefix");
    QTest::addColumn<QString>("mask");
    QTest::newRow("0") << 0u << "0.0.0.0";
    QTest::newRow("1") << 1u << "128.0.0.0";
    QTest::newRow("20") << 20u << "255.255.240.0";
    QTest::newRow("31") << 31u << "255.255.255.254";
    QTest::newRow("32") << 32u << "255.255.255.255";
    QTest::newRow("33") << 33u << "";
    QTest::newRow("-1 as unsigned") << quint32(-1) << "";
}

void TestXNet::prefixToMask()
{
    QFETCH(quint32, prefix);
    QFETCH(QString, mask);
    QCOMPARE(XNet::prefixToMask(prefix), mask);
    if (!mask.isEmpty())
        QCOMPARE(XNet::maskToPrefix(mask), int(prefix));
}

void TestXNet::printLine()
{
    XNet::NetSetting setting;
    setting.ip = "192.0.2.10";
    setting.mask = "255.255.255.0";
    setting.additions.insert("192.0.2.30", "255.255.255.128");
    setting.additions.insert("192.0.2.20", "255.255.255.0");
    setting.gateway = "192.0.2.1";
    setting.dns1 = "198.51.100.53";
    LogCapture log;
    setting.print();
    QCOMPARE(captured, QStringList{"[ print ] \"ip =192.0.2.10, mask =255.255.255.0, "
                                   "addition_ip =192.0.2.20, addition_mask =255.255.255.0, "
                                   "addition_ip =192.0.2.30, addition_mask =255.255.255.128, "
                                   "gateway =192.0.2.1, dns1 =198.51.100.53, dns2 =\""});
}

void TestXNet::matches_data()
{
    QTest::addColumn<QStringList>("fields"); // mac, connection, ip, mask, gateway, dns1, dns2
    QTest::addColumn<bool>("dhcp");
    QTest::addColumn<bool>("same");
    const QStringList base{"00:00:5E:00:53:01", "Wired connection 1", "192.0.2.10",   "255.255.255.0",
                           "192.0.2.1",         "192.0.2.53",         "198.51.100.53"};
    QTest::newRow("identical") << base << false << true;
    QStringList row = base;
    row[0] = row[0].toLower();
    row[1] = row[1].toUpper();
    QTest::newRow("mac and connection differ in case") << row << false << true;
    QTest::newRow("dhcp differs") << base << true << false;
    const char *names[] = {
        "", "", "ip differs", "mask differs", "gateway differs", "dns1 differs", "dns2 differs"};
    for (int i = 2; i < base.size(); ++i) {
        row = base;
        row[i] = row[i].toUpper() + "0";
        QTest::newRow(names[i]) << row << false << false;
    }
    row = base;
    row[2] = " 192.0.2.10";
    QTest::newRow("ip compared exactly") << row << false << false;
}

void TestXNet::matches()
{
    QFETCH(QStringList, fields);
    QFETCH(bool, dhcp);
    QFETCH(bool, same);
    XNet::NetSetting setting;
    setting.mac = "00:00:5E:00:53:01";
    setting.connection = "Wired connection 1";
    setting.dhcp = false;
    setting.ip = "192.0.2.10";
    setting.mask = "255.255.255.0";
    setting.gateway = "192.0.2.1";
    setting.dns1 = "192.0.2.53";
    setting.dns2 = "198.51.100.53";
    // Neither the further addresses nor the MTU take part in the comparison.
    setting.additions.insert("192.0.2.11", "255.255.255.0");
    setting.mtu = 9000;
    QCOMPARE(
        setting.matches(fields[0], fields[1], dhcp, fields[2], fields[3], fields[4], fields[5], fields[6]),
        same);
}

QTEST_GUILESS_MAIN(TestXNet)
#include "tst_xnet.moc"
