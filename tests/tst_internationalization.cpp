// The language decision, from the client's language file and the locale the
// process starts with. Each case runs in a child process with its own HOME and
// locale, as the program itself would start.
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "internationalization.h"
#include "support.h"

using testsupport::writeLanguageFile;

class TestInternationalization : public QObject
{
    Q_OBJECT

private slots:
    void decision_data()
    {
        QTest::addColumn<QString>("file"); // null: no language file
        QTest::addColumn<QString>("locale");
        QTest::addColumn<bool>("english");
        const auto row = [](const char *tag, const char *file, const char *locale, bool english) {
            QTest::newRow(tag) << (file ? QString(file) : QString()) << QString(locale) << english;
        };
        row("no file, en_US", nullptr, "en_US.UTF-8", true);
        row("no file, zh_HK reads English", nullptr, "zh_HK.UTF-8", true);
        row("no file, fr_FR reads Chinese", nullptr, "fr_FR.UTF-8", false);
        row("no file, bare C locale", nullptr, "C", true);
        row("Auto follows the locale, zh_CN", "Auto", "zh_CN.UTF-8", false);
        row("Auto follows the locale, en_US", "Auto", "en_US.UTF-8", true);
        row("English beats the locale", "English", "zh_CN.UTF-8", true);
        row("english is not English", "english", "en_US.UTF-8", false);
        row("auto is neither Auto nor English", "auto", "en_US.UTF-8", false);
    }
    void decision()
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
        QCOMPARE(QString::fromUtf8(child.readAllStandardOutput()).trimmed(),
                 QString(english ? "true" : "false"));
    }
    void fileIsReadAgainAtEveryCall()
    {
        QTemporaryDir home;
        const QByteArray oldHome = qgetenv("HOME");
        qputenv("HOME", home.path().toUtf8());
        Internationalization *language = Internationalization::instance();
        QCOMPARE(language->language(), QString());
        writeLanguageFile(home.path(), "English");
        QVERIFY(language->isEnglish());
        // A text of another length: QSettings takes a file of equal size and time stamp for unchanged.
        writeLanguageFile(home.path(), "Simplified Chinese");
        QCOMPARE(language->language(), QString("Simplified Chinese"));
        QVERIFY(!language->isEnglish());
        qputenv("HOME", oldHome);
    }
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--answer") == 0) {
        printf("%s\n", Internationalization::instance()->isEnglish() ? "true" : "false");
        return 0;
    }
    TestInternationalization test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_internationalization.moc"
