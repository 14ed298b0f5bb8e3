// What mySystem's own runners add to the command runner: their log lines, trimming, the
// working folder, the refusal of values that are not plain, and system()'s raw status.
#include "mysystem.h"
#include <QtTest>
#include <unistd.h>

static QStringList capturedLog; // emptied before every test function

class TestMySystem : public QObject
{
    Q_OBJECT
    QTemporaryDir tmp;

private slots:
    void initTestCase()
    {
        qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { capturedLog << text; });
    }
    void init() { capturedLog.clear(); }
    void start_data()
    {
        const QString dir = QDir(tmp.path()).canonicalPath(), cwd = QDir::currentPath(), none;
        QTest::addColumn<QString>("cmd");
        QTest::addColumn<QString>("workDir");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("log"); // what follows the "cmd =" line
        QTest::newRow("trimmed, cut at NUL, errors to the log only")
            << "printf ' \\n\\ta\\n b\\000c \\n'; echo ' e ' >&2" << none << QString("a\n b")
            << R"(output = "a\n b" , error = "e")";
        QTest::newRow("existing workDir")
            << "pwd" << dir << dir
            << QString("proc.workingDirectory = \"%1\"\n[ start ] output = \"%1\" , error = \"\"").arg(dir);
        QTest::newRow("missing workDir, no line of it")
            << "pwd" << dir + "/absent" << cwd << "output = \"" + cwd + "\" , error = \"\"";
        // A sudo inside finds no terminal to ask for a password on.
        QTest::newRow("a session of its own")
            << QString("awk '{print $6 != %1}' /proc/self/stat").arg(getsid(0)) << none << QString("1")
            << R"(output = "1" , error = "")";
    }
    void start()
    {
        QFETCH(QString, cmd);
        QFETCH(QString, workDir);
        QFETCH(QString, output);
        QFETCH(QString, log);
        QCOMPARE(mySystem::start(cmd, -1, workDir), output);
        // QDebug doubles the backslashes of the quoted command line.
        QCOMPARE(capturedLog.join('\n'), "[ start ] cmd = \"" + cmd.replace("\\", "\\\\") +
                                             "\" , workDir = \"" + workDir + "\"\n[ start ] " + log);
    }
    void fitsCommand()
    {
        const auto fits = [](const QString &value, bool betweenQuotes) {
            return mySystem::fitsCommand(value, "caller", betweenQuotes);
        };
        for (const char *plain : {"/opt/Tessera_2.1", "tessera-desktop", ""})
            QVERIFY2(fits(plain, false), plain);
        QVERIFY(fits("Wired connection 1", true) && fits(QString::fromUtf8("有线连接 1"), true));
        QVERIFY(capturedLog.isEmpty());
        QVERIFY(!fits("Wired connection 1", false));
        for (const QChar c : QString("'\"\\`$;|&<>()*?[]{}~#!\n\r\t") + QChar(0) + QChar(0x7f))
            QVERIFY2(!fits("x" + QString(c) + "y", true), qPrintable(QString::number(c.unicode())));
        QCOMPARE(capturedLog.size(), 27);
        QCOMPARE(capturedLog.first(),
                 R"([ caller ] refused, not a plain value for a command line: "Wired connection 1")");
    }
    void startProcAndMySystem()
    {
        // startProc has never started anything: only its log lines remain.
        QCOMPARE(mySystem::startProc("touch " + tmp.filePath("ran"), "ignored", 20000), QString());
        QVERIFY(QDir(tmp.path()).isEmpty());
        capturedLog.clear();
        mySystem::mySystem("exit 1");
        QCOMPARE(capturedLog, QStringList{"[ mySystem ] excute : \"exit 1\" And the result is 256"});
        // Its shell, too, leads a session of its own.
        mySystem::mySystem(QString("exit $(awk '{print $6 == %1}' /proc/self/stat)").arg(getsid(0)));
        QVERIFY2(capturedLog.last().endsWith("result is 0"), qPrintable(capturedLog.last()));
    }
};

QTEST_GUILESS_MAIN(TestMySystem)
#include "tst_mysystem.moc"
