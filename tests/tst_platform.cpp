// What mySystem answers about the terminal: processor, operating system, product and
// sudo prefix, with fake lsb_release, whoami and arch first on PATH.
#include <QtTest>
#include <sys/utsname.h>

#include "fakecommands.h"
#include "mysystem.h"

class TestPlatform : public QObject
{
    Q_OBJECT
    FakeCommands fakes;
    const QString dir = qEnvironmentVariable("PROBIX_FAKE_DIR") + '/'; // emptied before every test
    QString file(const QString &name, const QByteArray &text)
    {
        fakes.put(name, text);
        return dir + name;
    }

private slots:
    void init() { fakes.clear(); }
    void isCorvexAndOsName_data()
    {
        QTest::addColumn<bool>("marker");
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("name"); // "Corvex" exactly when isCorvex holds
        QTest::newRow("marker settles it") << true << QString("root") << "Corvex";
        QTest::newRow("Ubuntu, product word in any case") << false << QString("term-CORVEX01") << "Corvex";
        QTest::newRow("Ubuntu, another user") << false << QString("root") << "Ubuntu 20.04.6 LTS";
    }
    void isCorvexAndOsName()
    {
        QFETCH(bool, marker);
        QFETCH(QString, user);
        QFETCH(QString, name);
        fakes.put("lsb_release.out", "Distributor ID:\tUbuntu\nDescription:\tUbuntu 20.04.6 LTS\n");
        fakes.put("whoami.out", user.toUtf8() + '\n');
        const QString markerFile = marker ? file("corvex-version", "3.1\n") : dir + "none";
        QCOMPARE(mySystem::isCorvex(markerFile), name == "Corvex");
        // Both queries run every time, the marker notwithstanding.
        QCOMPARE(fakes.fakeLog(), QStringList({"lsb_release -id", "whoami "}));
        QCOMPARE(mySystem::getOsName(markerFile), name);
    }
    void processor()
    {
        fakes.put("arch.out", "  aarch64 \n");
        QCOMPARE(mySystem::getCpuArch(), QStringLiteral("aarch64"));
        utsname machine; // isArmCpu asks the build, not arch
        const QByteArray name = uname(&machine) == 0 ? machine.machine : "";
        QCOMPARE(mySystem::isArmCpu(), name.startsWith("arm") || name == "aarch64");
        // An arch that hangs after its answer.
        fakes.put("arch.out", "armv7l\n");
        fakes.put("arch.hang", "");
        const QDeadlineTimer notBefore(29000), notAfter(40000);
        QCOMPARE(mySystem::getCpuArch(), QStringLiteral("armv7l"));
        QVERIFY(notBefore.hasExpired() && !notAfter.hasExpired());
    }
    void sudoPrefixAndClientProductName()
    {
        QCOMPARE(mySystem::getSudoPrefix(dir + "missing") +
                     mySystem::getSudoPrefix(file("tab", "TCI\tthin client\n")) +
                     mySystem::getSudoPrefix(file("blank", "TCI thin client\n")),
                 QStringLiteral("sudo sudo "));
        // A file per value: QSettings keeps parsed files by path, size and time stamp.
        const auto product = [this](const QByteArray &value) {
            return mySystem::getClientProductName(file(value + ".ini", "[commoninfo]\nproductname=" + value));
        };
        QCOMPARE(product("fennlake_alpha") + ' ' + product("Other"), "fennlake_alpha Fennlake_Gamma");
    }
    void getClientProductNameDefaultsToTheAgentBesideUs()
    {
        // The agent sits one level up from this program, as it does from the installed one.
        const QString folder = QCoreApplication::applicationDirPath() + "/../Tolvane";
        if (QFileInfo::exists(folder))
            QSKIP("a Tolvane folder is already beside the build; it is not ours to change");
        const auto removed = qScopeGuard([&folder] { QDir(folder).removeRecursively(); });
        testsupport::writeFile(folder + "/config.ini", "[commoninfo]\nproductname=tessera\n");
        QCOMPARE(mySystem::getClientProductName(), QStringLiteral("tessera"));
    }
};

QTEST_GUILESS_MAIN(TestPlatform)
#include "tst_platform.moc"
