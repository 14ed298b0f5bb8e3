// The directory helpers on small trees in temporary folders, hidden files and
// dangling links included.
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include "dirutils.h"

namespace
{

QStringList capturedLog;

void captureMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    capturedLog.append(message);
}

void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// Every entry below root, hidden ones too, relative and sorted; folders end in "/".
QStringList tree(const QString &root)
{
    QStringList entries;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QString relative = QDir(root).relativeFilePath(it.filePath());
        entries << (it.fileInfo().isDir() && !it.fileInfo().isSymLink() ? relative + '/' : relative);
    }
    entries.sort();
    return entries;
}

} // namespace

class TestDirUtils : public QObject
{
    Q_OBJECT

    QTemporaryDir tmp;
    QString root;

    // a.txt, .hidden, sub/b.txt, sub/deeper/c.txt, sub/.hidden2, empty/
    void makeSampleTree(const QString &where)
    {
        writeFile(where + "/a.txt", "a");
        writeFile(where + "/.hidden", "h");
        writeFile(where + "/sub/b.txt", "b");
        writeFile(where + "/sub/deeper/c.txt", "c");
        writeFile(where + "/sub/.hidden2", "h2");
        QDir().mkpath(where + "/empty");
    }

private slots:
    void initTestCase()
    {
        QVERIFY(tmp.isValid());
        qInstallMessageHandler(captureMessage);
    }
    void init()
    {
        root = tmp.filePath(QTest::currentTestFunction() + QString("-") + QTest::currentDataTag());
        QDir(root).removeRecursively();
        QVERIFY(QDir().mkpath(root));
        capturedLog.clear();
    }

    void existsAndEmpty_data();
    void existsAndEmpty();
    void copyDirectoryTree();
    void copyDirectoryKeepsExistingFiles();
    void copyDirectoryBackslashTarget();
    void copyDirectoryMissingSource();
    void getFilesInDirFlat();
    void delFilesInDirKeepsFolders();
    void delFilesInDirRefuses_data();
    void delFilesInDirRefuses();
    void delFilesInDirLinks();
};

void TestDirUtils::existsAndEmpty_data()
{
    QTest::addColumn<QStringList>("files"); // relative paths made below the folder; "x/" is a folder
    QTest::addColumn<QString>("probe");     // relative to the folder
    QTest::addColumn<bool>("exists");
    QTest::addColumn<bool>("empty");
    QTest::newRow("missing folder counts as empty") << QStringList() << "absent" << false << true;
    QTest::newRow("empty folder") << QStringList() << "" << true << true;
    QTest::newRow("hidden files only") << QStringList{".a", ".b"} << "" << true << true;
    QTest::newRow("one file") << QStringList{"f"} << "" << true << false;
    QTest::newRow("one empty subfolder") << QStringList{"d/"} << "" << true << false;
    QTest::newRow("a file is no folder") << QStringList{"f"} << "f" << false << true;
}

void TestDirUtils::existsAndEmpty()
{
    QFETCH(QStringList, files);
    QFETCH(QString, probe);
    QFETCH(bool, exists);
    QFETCH(bool, empty);
    for (const QString &file : files) {
        if (file.endsWith('/'))
            QVERIFY(QDir(root).mkpath(file));
        else
            writeFile(root + '/' + file, "x");
    }
    const QString path = probe.isEmpty() ? root : root + '/' + probe;
    QCOMPARE(dirExists(path), exists);
    QCOMPARE(isDirEmpty(path), empty);
}

void TestDirUtils::copyDirectoryTree()
{
    makeSampleTree(root + "/src");
    copyDirectory(root + "/src", root + "/new/dst");
    QCOMPARE(tree(root + "/new/dst"),
             QStringList({"a.txt", "empty/", "sub/", "sub/b.txt", "sub/deeper/", "sub/deeper/c.txt"}));
    QCOMPARE(readFile(root + "/new/dst/sub/deeper/c.txt"), QByteArray("c"));
    // One line for every folder that had to be made: dst, empty, sub, sub/deeper.
    QCOMPARE(capturedLog, QVector<QString>(4, "[ copyDirectory ]  dir_dst not exist.").toList());
}

void TestDirUtils::copyDirectoryKeepsExistingFiles()
{
    makeSampleTree(root + "/src");
    writeFile(root + "/dst/a.txt", "old");
    writeFile(root + "/dst/sub/b.txt", "old b");
    copyDirectory(root + "/src", root + "/dst/");
    QCOMPARE(readFile(root + "/dst/a.txt"), QByteArray("old"));
    QCOMPARE(readFile(root + "/dst/sub/b.txt"), QByteArray("old b"));
    QCOMPARE(readFile(root + "/dst/sub/deeper/c.txt"), QByteArray("c"));
    QCOMPARE(capturedLog,
             QVector<QString>(2, "[ copyDirectory ]  dir_dst not exist.").toList()); // empty, sub/deeper
}

void TestDirUtils::copyDirectoryBackslashTarget()
{
    writeFile(root + "/src/a.txt", "a");
    copyDirectory(root + "/src", root + "/out\\");
    // Nothing is appended after a backslash: the name is glued onto it.
    QCOMPARE(tree(root), QStringList({"out\\/", "out\\a.txt", "src/", "src/a.txt"}));
}

void TestDirUtils::copyDirectoryMissingSource()
{
    copyDirectory(root + "/absent", root + "/dst");
    QVERIFY(dirExists(root + "/dst"));
    QVERIFY(isDirEmpty(root + "/dst"));
}

void TestDirUtils::getFilesInDirFlat()
{
    writeFile(root + "/one", "1");
    writeFile(root + "/two.txt", "2");
    writeFile(root + "/.hidden", "h");
    QVERIFY(QFile::link(root + "/one", root + "/link-to-one"));
    QVERIFY(QFile::link(root + "/nowhere", root + "/dangling"));
    QStringList files{"kept"};
    getFilesInDir(root, files);
    QCOMPARE(files.takeFirst(), QStringLiteral("kept"));
    files.sort();
    QCOMPARE(files, QStringList({root + "/link-to-one", root + "/one", root + "/two.txt"}));
}

void TestDirUtils::delFilesInDirKeepsFolders()
{
    makeSampleTree(root);
    QVERIFY(delFilesInDir(root));
    QCOMPARE(tree(root), QStringList({".hidden", "empty/", "sub/", "sub/.hidden2", "sub/deeper/"}));
    QVERIFY(capturedLog.isEmpty());
}

void TestDirUtils::delFilesInDirRefuses_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("line");
    QTest::newRow("empty string") << QString() << "[ delFilesInDir ]  string is empty.";
    QTest::newRow("missing folder") << "absent"
                                    << "[ delFilesInDir ]  dir is empty.";
}

void TestDirUtils::delFilesInDirRefuses()
{
    QFETCH(QString, path);
    QFETCH(QString, line);
    writeFile(root + "/keep", "k");
    QVERIFY(!delFilesInDir(path.isEmpty() ? path : root + '/' + path));
    QCOMPARE(capturedLog, QStringList{line});
    QVERIFY(QFile::exists(root + "/keep"));
}

void TestDirUtils::delFilesInDirLinks()
{
    writeFile(root + "/f", "f");
    writeFile(root + "/elsewhere/g", "g");
    QVERIFY(QDir(root).mkpath("dir"));
    QVERIFY(QFile::link(root + "/nowhere", root + "/dir/dangling"));
    QVERIFY(QFile::link(root + "/elsewhere", root + "/dir/to-elsewhere"));
    QVERIFY(delFilesInDir(root + "/dir"));
    // QDir lists a dangling link only under QDir::System, which the filter lacks: it is
    // neither removed nor recursed into, and nothing is logged.
    QVERIFY(capturedLog.isEmpty());
    // A link to a folder is no file, so the folder behind it is emptied as well.
    QCOMPARE(tree(root), QStringList({"dir/", "dir/dangling", "dir/to-elsewhere", "elsewhere/", "f"}));
}

QTEST_GUILESS_MAIN(TestDirUtils)
#include "tst_dirutils.moc"
