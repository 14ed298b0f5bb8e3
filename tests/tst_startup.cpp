// The shipped start-up as a user meets it: the real program under the test's
// X display, its resources, its exit statuses.
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "support.h"

class TestStartup : public QObject
{
    Q_OBJECT

    static QString xdotool(const QStringList &arguments, int timeoutMs = 20000)
    {
        QProcess process;
        process.start("xdotool", arguments);
        if (!process.waitForFinished(timeoutMs))
            process.kill();
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }

private slots:
    void resourcesDecodeAtTheirSizes()
    {
        const QList<QPair<QString, int>> images = {
            {"probix.ico", 64},       {"probix.png", 64},        {"close-circle.svg", 9},
            {"warning.png", 16},      {"discuss.png", 38},       {"hardware_cpu.png", 18},
            {"hardware-mem.png", 18}, {"hardware_bw.png", 18},   {"hardware-res.png", 18},
            {"hardware-sys.png", 18}, {"hardware-audio.png", 18}};
        for (const auto &image : images) {
            const QImage decoded(":/image/" + image.first);
            QCOMPARE(decoded.size(), QSize(image.second, image.second));
        }
        // The application icon keeps its alpha channel: a transparent corner.
        QCOMPARE(QImage(":/image/probix.ico").pixelColor(0, 0).alpha(), 0);
    }

    // Only the Latin fonts, so a terminal without a CJK font still starts and closes.
    void closeButtonEndsWithZero_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("title");
        QTest::newRow("Chinese") << "Chinese" << QString::fromUtf8("硬件检测");
        QTest::newRow("English language file") << "English"
                                               << "Hardware detection";
    }
    void closeButtonEndsWithZero()
    {
        QFETCH(QString, language);
        QFETCH(QString, title);
        if (QStandardPaths::findExecutable("xdotool").isEmpty())
            QSKIP("xdotool is not installed (scripts/setup.sh installs it)");
        QTemporaryDir home;
        testsupport::writeLanguageFile(home.path(), language);
        testsupport::writeFile(
            home.filePath("fonts.conf"),
            "<?xml version=\"1.0\"?><fontconfig><dir>/usr/share/fonts/truetype/dejavu</dir>"
            "<cachedir>" +
                home.filePath("cache").toUtf8() + "</cachedir></fontconfig>");
        QProcess probix;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", home.path());
        environment.insert("QSG_RENDER_LOOP", "basic");
        environment.insert("FONTCONFIG_FILE", home.filePath("fonts.conf"));
        environment.remove("QT_QPA_PLATFORM");
        probix.setProcessEnvironment(environment);
        probix.start(PROBIX_BIN, QStringList());
        QVERIFY(probix.waitForStarted());

        const QString id =
            xdotool({"search", "--sync", "--onlyvisible", "--pid", QString::number(probix.processId())});
        QVERIFY2(!id.isEmpty(), "no window appeared");
        QCOMPARE(xdotool({"getwindowname", id}), title);
        const QString geometry = xdotool({"getwindowgeometry", id});
        QVERIFY2(geometry.contains("740x570"), qPrintable(geometry));
        // The close button sits 20 px from the right edge in the 50 px title bar.
        xdotool({"mousemove", "--window", id, "703", "25", "click", "1"});
        QVERIFY(probix.waitForFinished(20000));
        QCOMPARE(probix.exitStatus() == QProcess::NormalExit ? probix.exitCode() : -1, 0);
        QVERIFY(probix.readAllStandardError().contains("close Button clicked ~!!!!"));
    }

    void unloadableDocumentEndsWith255()
    {
        QTemporaryDir home;
        QProcess broken;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", home.path());
        broken.setProcessEnvironment(environment);
        broken.start(PROBIX_BROKEN_BIN, QStringList());
        QVERIFY(broken.waitForFinished(30000));
        QCOMPARE(broken.exitStatus() == QProcess::NormalExit ? broken.exitCode() : -1, 255);
        QVERIFY(broken.readAllStandardError().contains("absent.qml"));
    }
};

QTEST_MAIN(TestStartup)
#include "tst_startup.moc"
