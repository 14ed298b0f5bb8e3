// The window document against a model the test controls: rows, warning marks (and
// probix-check judging alike), translation, disk list, refresh timer and dragging.
#include <QQmlApplicationEngine>
#include <QQmlPropertyMap>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTranslator>
#include <QtQml>
#include <QtTest>

#include "disk.h"
#include "fleetcheck.h"
#include "themeobject.h"

// Stands in for the real model under the same QML name, so the test chooses every figure.
class FakeProbix : public QQmlPropertyMap
{
    Q_OBJECT
public:
    static inline FakeProbix *last = nullptr;
    explicit FakeProbix(QObject *parent = nullptr) : QQmlPropertyMap(this, parent)
    {
        last = this;
        server.insert("ip", QString());
        server.insert("port", QString());
        insert("serverinfo", QVariant::fromValue<QObject *>(&server));
        insert("os", QString());
        show("", "", false);
    }
    Q_INVOKABLE void update() { ++updates; }
    void show(const QString &frequency, const QString &memory, bool available, const QObjectList &disks = {})
    {
        insert("cpuFrequency", frequency);
        insert("memoryTotal", memory);
        insert("disks", QVariant::fromValue(disks));
        server.insert("available", available);
    }
    QQmlPropertyMap server;
    int updates = 0;
};

class TestWindow : public QObject
{
    Q_OBJECT
    QQmlApplicationEngine *engine = nullptr;
    QQuickWindow *window = nullptr;

    // Visual children are not always QObject children, so walk the item tree.
    static QQuickItem *item(QQuickItem *root, const QString &name)
    {
        for (QQuickItem *child : root ? root->childItems() : QList<QQuickItem *>())
            if (QQuickItem *found = child->objectName() == name ? child : item(child, name))
                return found;
        return nullptr;
    }
    QQuickItem *item(const QString &name) const { return item(window->contentItem(), name); }
    // isVisible() is the effective visibility, so a line inside a hidden mark reads empty.
    QString text(const char *row, const char *which) const
    {
        QQuickItem *line = item(item(row), which);
        return line && line->isVisible() ? line->property("text").toString() : QString();
    }
    // The mark, not only its text: a passing row shows no mark at all.
    bool marked(const char *row) const
    {
        QQuickItem *mark = item(item(row), "warning");
        return mark && mark->isVisible();
    }
    QStringList rows() const
    {
        QStringList shown;
        for (const char *row :
             {"cpuInfor", "memeryInfor", "bandwidthInfor", "resolutionInfor", "systemInfor"})
            shown << QStringList{text(row, "titleLine"), text(row, "localLine"), text(row, "recommendLine"),
                                 text(row, "warningText")}
                         .join('/');
        return shown;
    }

private slots:
    void initTestCase()
    {
        qmlRegisterType<ThemeObject>("Themes", 1, 0, "Themes");
        qmlRegisterType<FakeProbix>("com.virtual.vdi", 1, 0, "Probix");
        qmlRegisterType<Disk>("com.virtual.vdi", 1, 0, "Disk");
    }
    void init()
    {
        engine = new QQmlApplicationEngine(QUrl("qrc:/qml/main.qml"));
        QCOMPARE(engine->rootObjects().size(), 1);
        window = qobject_cast<QQuickWindow *>(engine->rootObjects().first());
        QVERIFY(window && QTest::qWaitForWindowExposed(window));
    }
    void cleanup() { delete engine; }

    void rowsAndWarnings()
    {
        QVERIFY(window->flags() & Qt::FramelessWindowHint);
        QCOMPARE(FakeProbix::last->updates, 0);    // the timer does not fire on start
        FakeProbix::last->show("0.0", "0", false); // the empty answers
        QCOMPARE(rows(),
                 QString::fromUtf8(
                     "CPU/本机：0.0 GHz/推荐：2.3 GHz以上/CPU主频低|内存/本机：0 GB/推荐：2 GB以上/内存过低|"
                     "网络//客户端当前配置地址： : /故障|磁盘///|系统///")
                     .split('|'));
        FakeProbix::last->server.insert("ip", "10.0.0.1");
        FakeProbix::last->server.insert("port", "443");
        FakeProbix::last->show("2.4", "4", true);
        QCOMPARE(rows().mid(0, 3),
                 QString::fromUtf8("CPU/本机：2.4 GHz/推荐：2.3 GHz以上/|内存/本机：4 GB/推荐：2 GB以上/|"
                                   "网络/状态：良好/客户端当前配置地址：10.0.0.1 : 443/")
                     .split('|'));
        // Warnings are told by the mark alone: every circle stays green on screen.
        const QImage shot = window->grabWindow();
        for (const char *row :
             {"cpuInfor", "memeryInfor", "bandwidthInfor", "resolutionInfor", "systemInfor"})
            QCOMPARE(shot.pixelColor(item(item(row), "iconCircle")->mapToScene(QPointF(4, 18)).toPoint()),
                     QColor("#52c41a"));
        QTRY_COMPARE_WITH_TIMEOUT(FakeProbix::last->updates, 2, 6000); // then every 2 s

        // The title's translation is proven on the real program (tst_startup).
        QTranslator english;
        QVERIFY(english.load(":/probix_en.qm", "", "", ""));
        QCoreApplication::installTranslator(&english);
        engine->retranslate();
        FakeProbix::last->show("1.0", "1.9", true);
        QCOMPARE(rows(),
                 QString::fromUtf8("CPU/native：1.0 GHz/recommend：2.3 GHzor more/Low CPU frequency|"
                                   "RAM/native：1.9 GB/recommend：2 GBor more/Memory is too low|"
                                   "Network/status：good/Client current configuration address：10.0.0.1 "
                                   ": 443/|Disk///|Operating System///")
                     .split('|'));
        FakeProbix::last->show("1.0", "1.9", false);
        QCOMPARE(text("bandwidthInfor", "warningText"), QString("malfunction"));
    }

    // One table, both fronts: the window's marks and probix-check's judgement over the
    // texts the model gives, at the edges of the rule.
    void checkAgreesWithWindow_data()
    {
        QTest::addColumn<QString>("frequency");
        QTest::addColumn<QString>("memory");
        QTest::addColumn<bool>("warns");
        QTest::newRow("at both thresholds") << "2.3"
                                            << "2" << false;
        QTest::newRow("just below both") << "2.2"
                                         << "1.9" << true;
        // Numbers, not texts ("10" < "2.3" as text); 128 GB shows as "1.3e+02", read as 130.
        QTest::newRow("two digits, exponent form") << "10.0"
                                                   << "1.3e+02" << false;
        QTest::newRow("a text that is no number never warns") << "nan"
                                                              << "inf" << false;
    }
    void checkAgreesWithWindow()
    {
        QFETCH(QString, frequency);
        QFETCH(QString, memory);
        QFETCH(bool, warns);
        for (bool answered : {true, false}) {
            FakeProbix::last->show(frequency, memory, answered);
            const FleetCheck::Report report{frequency, memory, "", "", answered, {}, ""};
            QCOMPARE(QList<bool>({marked("cpuInfor"), !report.cpuPasses(), marked("memeryInfor"),
                                  !report.memoryPasses(), marked("bandwidthInfor"), report.suitable(),
                                  marked("systemInfor")}),
                     QList<bool>({warns, warns, warns, warns, !answered, !warns && answered, false}));
        }
    }

    void manyDisksScrollSideways()
    {
        QObjectList disks;
        for (int i = 0; i < 9; ++i) {
            auto *row = new Disk(FakeProbix::last);
            row->setPartition(QString("/dev/nvme0n1p%1").arg(i + 1));
            row->setCapability("465.8");
            row->setUsecapability("100.2");
            disks << row;
        }
        FakeProbix::last->show("2.4", "4", true, disks);
        QQuickItem *list = item("diskGridView");
        QTRY_COMPARE(list->property("count").toInt(), 9);
        QVERIFY(list->property("contentWidth").toReal() > list->width());
        QCOMPARE(item("resolutionInfor")->height(), 75.0);
        QStringList texts;
        for (QQuickItem *delegate : list->property("contentItem").value<QQuickItem *>()->childItems())
            for (QQuickItem *line : delegate->childItems())
                texts << line->property("text").toString();
        QCOMPARE(texts.mid(0, 2), QStringList({"/dev/nvme0n1p1", "365.6 GB / 465.8 GB"}));
    }

    void dragMovesAtMostEvery40ms()
    {
        window->setPosition(100, 100);
        QTRY_COMPARE(window->position(), QPoint(100, 100));
        const QPoint grip(300, 540);
        QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, grip);
        QTest::mouseMove(window, grip + QPoint(5, 2));
        QCOMPARE(window->position(), QPoint(100, 100));
        QTest::qWait(80);
        QTest::mouseMove(window, grip + QPoint(10, 5));
        QTRY_COMPARE(window->position(), QPoint(110, 105));
        // The release moves once more by the last offset, even without waiting.
        QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, grip + QPoint(20, 10));
        QTRY_COMPARE(window->position(), QPoint(130, 115));
        // A double click neither maximises nor moves anything.
        QTest::mouseDClick(window, Qt::LeftButton, Qt::NoModifier, grip);
        QTest::qWait(50);
        QCOMPARE(window->position(), QPoint(130, 115));
        QCOMPARE(window->visibility(), QWindow::Windowed);
    }
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
