// The shipped start-up as a user meets it: the real program under the test's
// X display, its resources, its exit statuses.
#include <QImage>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void resourceTree_data();
    void resourceTree();
    void applicationIconDecodes();
    void closeButtonEndsWithZero_data();
    void closeButtonEndsWithZero();
    void unloadableDocumentEndsWith255();

private:
    static QString xdotool(const QStringList &arguments, int timeoutMs = 20000);
};

void TestStartup::resourceTree_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    QTest::newRow("title icon") << ":/image/probix.png" << QSize(64, 64);
    QTest::newRow("close mark") << ":/image/close-circle.svg" << QSize(9, 9);
    QTest::newRow("warning") << ":/image/warning.png" << QSize(16, 16);
    for (const char *name : {"hardware_cpu.png", "hardware-mem.png", "hardware_bw.png", "hardware-res.png",
                             "hardware-sys.png", "hardware-audio.png"})
        QTest::newRow(name) << QString(":/image/") + name << QSize(18, 18);
    QTest::newRow("default row icon") << ":/image/discuss.png" << QSize(38, 38);
}

void TestStartup::resourceTree()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);
    QImageReader reader(path);
    QCOMPARE(reader.size(), size);
    QVERIFY2(!reader.read().isNull(), qPrintable(reader.errorString()));

    for (const char *document : {":/qml/main.qml", ":/qml/HandWareInfo.qml", ":/qml/HarddiskInfo.qml",
                                 ":/qml/DraggableMouseArea.qml", ":/probix_en.qm"})
        QVERIFY2(QFile::exists(document), document);
    QFile style(":/qtquickcontrols2.conf");
    QVERIFY(style.open(QIODevice::ReadOnly));
    QCOMPARE(style.readAll().trimmed(), QByteArray("[Controls]\nStyle=Default"));
}

void TestStartup::applicationIconDecodes()
{
    QFile file(":/image/probix.ico");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    // One directory entry: 64 by 64 (stored as 64), 32 bits per pixel.
    QCOMPARE(quint8(bytes[4]), quint8(1));
    QCOMPARE(quint8(bytes[6]), quint8(64));
    QCOMPARE(quint8(bytes[7]), quint8(64));
    QCOMPARE(quint8(bytes[12]), quint8(32));
    const QImage image(":/image/probix.ico");
    QCOMPARE(image.size(), QSize(64, 64));
    QVERIFY(image.hasAlphaChannel());
    QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
    QVERIFY(image.pixelColor(32, 5).alpha() == 255);
}

QString TestStartup::xdotool(const QStringList &arguments, int timeoutMs)
{
    QProcess process;
    process.start("xdotool", arguments);
    if (!process.waitForFinished(timeoutMs))
        process.kill();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

void TestStartup::closeButtonEndsWithZero_data()
{
    QTest::addColumn<bool>("withoutCjkFonts");
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("title");
    const QString chinese = QString::fromUtf8("硬件检测");
    QTest::newRow("usual fonts") << false << "Chinese" << chinese;
    QTest::newRow("no CJK font installed") << true << "Chinese" << chinese;
    QTest::newRow("English language file") << false << "English" << "Hardware detection";
}

void TestStartup::closeButtonEndsWithZero()
{
    QFETCH(bool, withoutCjkFonts);
    QFETCH(QString, language);
    QFETCH(QString, title);
    if (QStandardPaths::findExecutable("xdotool").isEmpty())
        QSKIP("xdotool is not installed (scripts/setup.sh installs it)");

    QTemporaryDir home;
    QDir(home.path()).mkpath("Documents/Tessera");
    QFile languageFile(home.filePath("Documents/Tessera/language_installed.ini"));
    QVERIFY(languageFile.open(QIODevice::WriteOnly));
    languageFile.write("[System]\nLanguage=" + language.toUtf8() + "\n");
    languageFile.close();
    QProcess probix;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", home.path());
    environment.insert("QSG_RENDER_LOOP", "basic");
    environment.remove("QT_QPA_PLATFORM");
    if (withoutCjkFonts) {
        // A font configuration that knows only the Latin fonts.
        QFile config(home.filePath("fonts.conf"));
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write("<?xml version=\"1.0\"?><fontconfig><dir>/usr/share/fonts/truetype/dejavu</dir>"
                     "<cachedir>" + home.filePath("cache").toUtf8() + "</cachedir></fontconfig>");
        config.close();
        environment.insert("FONTCONFIG_FILE", config.fileName());
    }
    probix.setProcessEnvironment(environment);
    probix.start(PROBIX_BIN, QStringList());
    QVERIFY(probix.waitForStarted());

    const QString id = xdotool({"search", "--sync", "--onlyvisible", "--pid", QString::number(probix.processId())});
    QVERIFY2(!id.isEmpty(), "no window appeared");
    QCOMPARE(xdotool({"getwindowname", id}), title);
    const QString geometry = xdotool({"getwindowgeometry", id});
    QVERIFY2(geometry.contains("740x570"), qPrintable(geometry));

    // The close button sits 20 px from the right edge in the 50 px title bar.
    xdotool({"mousemove", "--window", id, "703", "25", "click", "1"});
    QVERIFY(probix.waitForFinished(20000));
    QCOMPARE(probix.exitStatus(), QProcess::NormalExit);
    QCOMPARE(probix.exitCode(), 0);
    QVERIFY(probix.readAllStandardError().contains("close Button clicked ~!!!!"));
}

void TestStartup::unloadableDocumentEndsWith255()
{
    QTemporaryDir home;
    QProcess broken;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", home.path());
    broken.setProcessEnvironment(environment);
    broken.start(PROBIX_BROKEN_BIN, QStringList());
    QVERIFY(broken.waitForFinished(30000));
    QCOMPARE(broken.exitStatus(), QProcess::NormalExit);
    QCOMPARE(broken.exitCode(), 255);
    QVERIFY(broken.readAllStandardError().contains("absent.qml"));
}

QTEST_MAIN(TestStartup)
#include "tst_startup.moc"
