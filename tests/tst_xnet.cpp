// Address checks, mask arithmetic and the choice of a local address of XNet, all on values alone; what
// real cards give is in tst_xnet_net.
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
        QTest::newRow("/32") << "255.255.255.255" << 32 << "255.255.255.255";
        QTest::newRow("octet 253") << "255.255.253.0" << -1 << "";
        QTest::newRow("256 counts one bit") << "256" << 1 << "128.0.0.0";
    }
    void masks()
    {
        QFETCH(QString, mask);
        QFETCH(int, prefix);
        QCOMPARE(XNet::maskToPrefix(mask), prefix);
        QTEST(XNet::prefixToMask(quint32(prefix)), "back");
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
    void hostIpChoice_data()
    {
        QTest::addColumn<QStringList>("addresses"); // address/mask, every card's in card order
        QTest::addColumn<QString>("server");
        QTest::addColumn<int>("port");
        QTest::addColumn<int>("reason");
        QTest::addColumn<int>("index");
        using C = XNet::HostIpChoice;
        const QStringList two{"192.0.2.10/255.255.255.128", "192.0.2.200/255.255.255.248"};
        QTest::newRow("second's /29 holds .206") << two << "192.0.2.206" << 7 << int(C::InSubnet) << 1;
        QTest::newRow("first's /25 ends before .130") << two << "192.0.2.130" << 0 << int(C::Default) << 0;
        QTest::newRow("in both: the first")
            << QStringList{"192.0.2.10/255.255.255.0", two[1]} << "192.0.2.201" << 7 << int(C::InSubnet) << 0;
        QTest::newRow("in none, with a port") << two << "198.51.100.1" << 7 << int(C::TryConnect) << 0;
        QTest::newRow("host name, with a port") << two << "server.example" << 7 << int(C::TryConnect) << 0;
        QTest::newRow("no server, with a port") << two << "" << 7 << int(C::Default) << 0;
        // 255.255.253.0 counts 23 bits rather than being refused.
        QTest::newRow("malformed mask")
            << QStringList{two[1], "192.0.2.10/255.255.253.0"} << "192.0.3.5" << 0 << int(C::InSubnet) << 1;
    }
    void hostIpChoice()
    {
        QFETCH(QStringList, addresses);
        QFETCH(QString, server);
        QFETCH(int, port);
        QList<XNet::Ipv4Entry> entries;
        for (const QString &address : qAsConst(addresses))
            entries.append({address.section('/', 0, 0), address.section('/', 1)});
        const XNet::HostIpChoice choice = XNet::chooseHostIp(entries, server, quint16(port));
        QTEST(int(choice.reason), "reason");
        QTEST(choice.index, "index");
    }
};

QTEST_GUILESS_MAIN(TestXNet)
#include "tst_xnet.moc"
