// The renderer choice: software where no render node exists, unless the user named one.
#include <QQuickWindow>
#include <QtTest>

#include "scenegraph.h"
#include "support.h"

class TestSceneGraph : public QObject
{
    Q_OBJECT
private slots:
    void renderNode_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<bool>("found");
        QTest::newRow("no folder") << QStringList() << false;
        QTest::newRow("display only") << QStringList{"card0", "by-path"} << false;
        QTest::newRow("render node") << QStringList{"card0", "renderD128"} << true;
    }
    void renderNode()
    {
        QFETCH(QStringList, entries);
        QFETCH(bool, found);
        QTemporaryDir dir;
        for (const QString &name : entries)
            testsupport::writeFile(dir.filePath("dri/" + name), "");
        QCOMPARE(hasRenderNode(dir.filePath("dri")), found);
    }

    // One process, one request: the named case runs first, since a request cannot be taken back.
    void namedBackendWins()
    {
        QTemporaryDir dir;
        qputenv("QT_QUICK_BACKEND", "");
        chooseSceneGraphBackend(dir.path());
        QCOMPARE(QQuickWindow::sceneGraphBackend(), QString());
        qunsetenv("QT_QUICK_BACKEND");
        qputenv("QMLSCENE_DEVICE", "software");
        chooseSceneGraphBackend(dir.path());
        QCOMPARE(QQuickWindow::sceneGraphBackend(), QString());
        qunsetenv("QMLSCENE_DEVICE");
    }
    void softwareWithoutRenderNode()
    {
        QTemporaryDir dir;
        chooseSceneGraphBackend(dir.path());
        QCOMPARE(QQuickWindow::sceneGraphBackend(), QStringLiteral("software"));
    }
};

QTEST_GUILESS_MAIN(TestSceneGraph)
#include "tst_scenegraph.moc"
