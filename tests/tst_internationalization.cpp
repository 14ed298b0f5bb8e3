// The language decision, from the client's language file and the locale the process starts with. Each case
// runs in a child process with its own HOME and locale, as the program itself would start.
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
        QTest::addColumn<QString>("english");
        const auto row = [](const char *tag, const char *file, const char *locale, const char *english) {
            QTest::newRow(tag) << QString(file) << QString(locale) << QString(english);
        };
        row("no file, zh_HK reads English", nullptr, "zh_HK.UTF-8", "true");
        row("no file, bare C locale", nullptr, "C", "true");
        row("no file, fr_FR reads Chinese", nullptr, "fr_FR.UTF-8", "false");
        row("Auto on a Chinese locale gives Chinese", "Auto", "zh_CN.UTF-8", "false");
        row("Auto on an English locale gives English", "Auto", "en_US.UTF-8", "true");
        row("English beats the locale", "English", "zh_CN.UTF-8", "true");
        row("english is not English", "english", "en_US.UTF-8", "false");
        row("auto is neither Auto nor English", "auto", "en_US.UTF-8", "false");
    }
    void decision()
    {
        QFETCH(QString, file);
        QFETCH(QString, locale);
        QTemporaryDir home;
        if (!file.isNull())
            writeLanguageFile(home.path(), file);
        QStringList environment = QProcess::systemEnvironment().filter(
            QRegularExpression("^(?!(HOME|XDG_CONFIG_HOME|LANGUAGE|LC_ALL|LANG)=)"));
        QProcess child;
        child.setEnvironment(environment << "HOME=" + home.path() << "LC_ALL=" + locale << "LANG=" + locale);
        // In a cross build the second copy runs through the same emulator as this one.
        QStringList command{PROBIX_EMULATOR, QCoreApplication::applicationFilePath(), "--answer"};
        if (command.first().isEmpty())
            command.removeFirst();
        child.start(command.takeFirst(), command);
        QVERIFY(child.waitForFinished(30000));
        QTEST(QString(child.readAllStandardOutput().trimmed()), "english");
    }
    void fileIsReadAgainAtEveryCall()
    {
        QTemporaryDir home;
        qputenv("HOME", home.path().toUtf8()); // the last case: no child starts after it
        writeLanguageFile(home.path(), "English");
        QVERIFY(Internationalization::instance()->isEnglish());
        // Another length: QSettings takes a file of equal size and time stamp for unchanged.
        writeLanguageFile(home.path(), "Simplified Chinese");
        QVERIFY(!Internationalization::instance()->isEnglish());
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
