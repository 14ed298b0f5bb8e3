// The language decision, from the client's language file and the locale the
// process starts with. Each case runs in a child process with its own HOME and
// locale, as the program itself would start.
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "internationalization.h"

class TestInternationalization : public QObject
{
    Q_OBJECT

private slots:
    void decision_data();
    void decision();
    void fileIsReadAgainAtEveryCall();
};

void TestInternationalization::decision_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<bool>("english");
    const QString none;
    QTest::newRow("no file, en_US") << none << "en_US.UTF-8" << true;
    QTest::newRow("no file, zh_CN") << none << "zh_CN.UTF-8" << false;
    QTest::newRow("no file, zh_HK reads English") << none << "zh_HK.UTF-8" << true;
    QTest::newRow("no file, fr_FR reads Chinese") << none << "fr_FR.UTF-8" << false;
    QTest::newRow("no file, bare C locale") << none << "C" << true;
    QTest::newRow("Auto follows the locale, zh_CN") << "Auto"
                                                    << "zh_CN.UTF-8" << false;
    QTest::newRow("English beats the locale") << "English"
                                              << "zh_CN.UTF-8" << true;
    QTest::newRow("english is not English") << "english"
                                            << "en_US.UTF-8" << false;
    QTest::newRow("Chinese") << "Chinese"
                             << "en_US.UTF-8" << false;
    QTest::newRow("auto is neither Auto nor English") << "auto"
                                                      << "en_US.UTF-8" << false;
}

static void writeLanguageFile(const QString &home, const QString &value)
{
    QDir(home).mkpath("Documents/Tessera");
    QFile file(home + "/Documents/Tessera/language_installed.ini");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[System]\nLanguage=" + value.toUtf8() + "\n");
}

void TestInternationalization::decision()
{
    QFETCH(QString, file);
    QFETCH(QString, locale);
    QFETCH(bool, english);
    QTemporaryDir home;
    if (!file.isNull())
        writeLanguageFile(home.path(), file);

    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", home.path());
    environment.remove("XDG_CONFIG_HOME");
    environment.remove("LANGUAGE");
    environment.insert("LC_ALL", locale);
    environment.insert("LANG", locale);
    child.setProcessEnvironment(environment);
    // In a cross build the second copy runs through the same emulator as this one.
    const QString emulator = QStringLiteral(PROBIX_EMULATOR);
    if (emulator.isEmpty())
        child.start(QCoreApplication::applicationFilePath(), {"--answer"});
    else
        child.start(emulator, {QCoreApplication::applicationFilePath(), "--answer"});
    QVERIFY(child.waitForFinished(30000));
    QCOMPARE(QString::fromUtf8(child.readAllStandardOutput()).trimmed(), QString(english ? "true" : "false"));
}

void TestInternationalization::fileIsReadAgainAtEveryCall()
{
    QTemporaryDir home;
    const QByteArray oldHome = qgetenv("HOME");
    qputenv("HOME", home.path().toUtf8());
    Internationalization *language = Internationalization::instance();
    QCOMPARE(Internationalization::instance(), language);
    QCOMPARE(language->language(), QString());
    writeLanguageFile(home.path(), "English");
    QCOMPARE(language->language(), QString("English"));
    QVERIFY(language->isEnglish());
    // A text of another length: QSettings takes a file of equal size and time stamp for unchanged.
    writeLanguageFile(home.path(), "Simplified Chinese");
    QVERIFY(!language->isEnglish());
    qputenv("HOME", oldHome);
}

int main(int argc, char **argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--answer") == 0) {
        QCoreApplication app(argc, argv);
        printf("%s\n", Internationalization::instance()->isEnglish() ? "true" : "false");
        return 0;
    }
    QCoreApplication app(argc, argv);
    TestInternationalization test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_internationalization.moc"
