// The directory helpers on small trees in temporary folders, hidden files included.
#include <QtTest>

#include "dirutils.h"
#include "support.h"

using testsupport::writeFile;

class TestDirUtils : public QObject
{
    Q_OBJECT
    QTemporaryDir tmp;
    QString root; // a folder of its own for every test function
    std::unique_ptr<testsupport::LogCapture> log;

private slots:
    void initTestCase() { log = std::make_unique<testsupport::LogCapture>(); } // after QtTest's own handler
    void init()
    {
        root = tmp.filePath(QTest::currentTestFunction());
        QVERIFY(tmp.isValid() && QDir().mkpath(root));
        log->clear();
    }
    void existsAndEmpty()
    {
        QVERIFY(!dirExists(root + "/absent"));
        QVERIFY(isDirEmpty(root + "/absent")); // a missing folder counts as empty
        writeFile(root + "/.hidden", "new");
        QVERIFY(dirExists(root));
        QVERIFY(isDirEmpty(root)); // hidden files are not looked at
        writeFile(root + "/file", "new");
        QVERIFY(!isDirEmpty(root));
    }
    void copyDirectoryNeverOverwrites()
    {
        for (const char *name : {"/src/a", "/src/.hidden", "/src/sub/b"})
            writeFile(root + name, "new");
        writeFile(root + "/dst/a", "older");
        copyDirectory(root + "/src", root + "/dst");
        QCOMPARE(QFileInfo(root + "/dst/a").size(), qint64(5)); // still the older one
        QVERIFY(QFile::exists(root + "/dst/sub/b") && !QFile::exists(root + "/dst/.hidden"));
        QCOMPARE(log->lines(), QStringList{"[ copyDirectory ]  dir_dst not exist."}); // for sub alone
    }
    void getAndDelFilesInDir()
    {
        for (const char *name : {"/a", "/.hidden", "/sub/b", "/sub/.hidden"})
            writeFile(root + name, "new");
        QStringList files{"kept"};
        getFilesInDir(root + "/sub", files); // a folder without subfolders, as it needs
        QCOMPARE(files, QStringList({"kept", root + "/sub/b"}));
        QVERIFY(delFilesInDir(root));
        QVERIFY(!QFile::exists(root + "/a") && !QFile::exists(root + "/sub/b"));
        QVERIFY(QFile::exists(root + "/.hidden") && QFile::exists(root + "/sub/.hidden")); // folders stay
        QVERIFY(!delFilesInDir(root + "/absent"));
        QCOMPARE(log->lines(), QStringList{"[ delFilesInDir ]  dir is empty."});
    }
};

QTEST_GUILESS_MAIN(TestDirUtils)
#include "tst_dirutils.moc"
