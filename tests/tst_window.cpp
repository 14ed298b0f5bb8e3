// The window document against a model the test controls: rows, warning marks (and
// probix-check judging alike), translation, disk list, refresh timer, dragging and closing.
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTranslator>
#include <QtQml>
#include <QtTest>

#include "disk.h"
#include "fleetcheck.h"
#include "probix.h"
#include "support.h"
#include "themeobject.h"

class FakeServer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString ip MEMBER ip NOTIFY serverInfoChanged)
    Q_PROPERTY(QString port MEMBER port NOTIFY serverInfoChanged)
    Q_PROPERTY(bool available MEMBER available NOTIFY serverInfoChanged)
public:
    QString ip, port;
    bool available = false;
signals:
    void serverInfoChanged();
};

// Stands in for the real model under the same QML name, so the test chooses every figure.
class FakeProbix : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString memoryTotal MEMBER memoryTotal NOTIFY infoChanged)
    Q_PROPERTY(QQmlListProperty<Disk> disks READ disks NOTIFY infoChanged)
    Q_PROPERTY(QString cpuFrequency MEMBER cpuFrequency NOTIFY infoChanged)
    Q_PROPERTY(QString os MEMBER os NOTIFY infoChanged)
    Q_PROPERTY(FakeServer *serverinfo READ serverinfo NOTIFY infoChanged)
public:
    static inline FakeProbix *last = nullptr;
    explicit FakeProbix(QObject *parent = nullptr) : QObject(parent) { last = this; }
    Q_INVOKABLE void update() { ++updates; }
    QQmlListProperty<Disk> disks() { return QQmlListProperty<Disk>(this, &rows); }
    FakeServer *serverinfo() { return &server; }
    void show(const QString &frequency, const QString &memory, bool available)
    {
        cpuFrequency = frequency;
        memoryTotal = memory;
        server.available = available;
        emit server.serverInfoChanged();
        emit infoChanged();
    }
    QString memoryTotal, cpuFrequency, os;
    QList<Disk *> rows;
    FakeServer server;
    int updates = 0;
signals:
    void infoChanged();
};

static const char *const rowNames[] = {"cpuInfor", "memeryInfor", "bandwidthInfor", "resolutionInfor",
                                       "systemInfor"};

class TestWindow : public QObject
{
    Q_OBJECT
    QQmlApplicationEngine *engine = nullptr;
    QQuickWindow *window = nullptr;

    // Visual children are not always QObject children, so walk the item tree.
    static QQuickItem *item(QQuickItem *root, const QString &name)
    {
        for (QQuickItem *child : root ? root->childItems() : QList<QQuickItem *>()) {
            QQuickItem *found = child->objectName() == name ? child : item(child, name);
            if (found)
                return found;
        }
        return nullptr;
    }
    QQuickItem *item(const QString &name) const { return item(window->contentItem(), name); }
    QString text(const QString &row, const QString &which) const
    {
        QQuickItem *line = item(item(row), which);
        return line && line->isVisible() ? line->property("text").toString() : QString();
    }
    // The mark, not only its text: a passing row shows no mark at all.
    bool marked(const QString &row) const
    {
        QQuickItem *mark = item(item(row), "warning");
        return mark && mark->isVisible();
    }
    QString warning(const QString &row) const { return marked(row) ? text(row, "warningText") : QString(); }
    QStringList rows() const
    {
        QStringList shown;
        for (const char *row : rowNames)
            shown << QStringList{text(row, "titleLine"), text(row, "localLine"), text(row, "recommendLine"),
                                 warning(row)}
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
        FakeProbix::last->show("0.0", "0", false); // the empty answers
        QCOMPARE(rows(),
                 QString::fromUtf8(
                     "CPU/本机：0.0 GHz/推荐：2.3 GHz以上/CPU主频低|内存/本机：0 GB/推荐：2 GB以上/内存过低|"
                     "网络//客户端当前配置地址： : /故障|磁盘///|系统///")
                     .split('|'));
        FakeProbix::last->server.ip = "10.0.0.1";
        FakeProbix::last->server.port = "443";
        FakeProbix::last->show("2.4", "4", true);
        QCOMPARE(rows().mid(0, 3),
                 QString::fromUtf8("CPU/本机：2.4 GHz/推荐：2.3 GHz以上/|内存/本机：4 GB/推荐：2 GB以上/|"
                                   "网络/状态：良好/客户端当前配置地址：10.0.0.1 : 443/")
                     .split('|'));
        // Warnings are told by the mark alone: every circle stays green on screen.
        const QImage shot = window->grabWindow();
        for (const char *row : rowNames)
            QCOMPARE(shot.pixelColor(item(item(row), "iconCircle")->mapToScene(QPointF(4, 18)).toPoint()),
                     QColor("#52c41a"));
    }

    // One table, both fronts: the window's marks and probix-check's judgement over the
    // texts the model gives, and the edges of the rule.
    void checkAgreesWithWindow_data()
    {
        QTest::addColumn<QString>("frequency");
        QTest::addColumn<QString>("memory");
        QTest::addColumn<bool>("cpuWarns");
        QTest::addColumn<bool>("memoryWarns");
        const auto row = [](const char *tag, const char *frequency, const char *memory, bool cpu, bool ram) {
            QTest::newRow(tag) << QString(frequency) << QString(memory) << cpu << ram;
        };
        row("at both thresholds", "2.3", "2", false, false);
        row("just below both", "2.2", "1.9", true, true);
        // Numbers, not texts ("10" < "2.3" as text); 128 GB shows as "1.3e+02", read as 130.
        row("two digits, exponent form", "10.0", "1.3e+02", false, false);
        row("empty texts count as zero", "", "", true, true);
        row("a text that is no number never warns", "nan", "inf", false, false);
    }
    void checkAgreesWithWindow()
    {
        QFETCH(QString, frequency);
        QFETCH(QString, memory);
        QFETCH(bool, cpuWarns);
        QFETCH(bool, memoryWarns);
        for (bool answered : {true, false}) {
            FakeProbix::last->show(frequency, memory, answered);
            FleetCheck::Report report;
            report.cpu = frequency;
            report.memory = memory;
            report.answered = answered;
            QCOMPARE(marked("cpuInfor"), cpuWarns);
            QCOMPARE(!report.cpuPasses(), cpuWarns);
            QCOMPARE(marked("memeryInfor"), memoryWarns);
            QCOMPARE(!report.memoryPasses(), memoryWarns);
            QCOMPARE(marked("bandwidthInfor"), !answered);
            QCOMPARE(report.suitable(), !cpuWarns && !memoryWarns && answered);
            QVERIFY(!marked("systemInfor"));
        }
    }

    void englishTranslation()
    {
        delete engine;
        QTranslator translator;
        QVERIFY(translator.load(":/probix_en.qm", "", "", ""));
        QCoreApplication::installTranslator(&translator);
        init();
        FakeProbix::last->show("1.0", "1.9", true);
        QCOMPARE(window->title(), QString("Hardware detection"));
        QCOMPARE(rows(), QString::fromUtf8("CPU/native：1.0 GHz/recommend：2.3 GHzor more/Low CPU frequency|"
                                           "RAM/native：1.9 GB/recommend：2 GBor more/Memory is too low|"
                                           "Network/status：good/Client current configuration address： : /|"
                                           "Disk///|Operating System///")
                             .split('|'));
        FakeProbix::last->show("1.0", "1.9", false);
        QCOMPARE(warning("bandwidthInfor"), QString("malfunction"));
        QCoreApplication::removeTranslator(&translator);
    }

    void manyDisksScrollSideways()
    {
        for (int i = 0; i < 9; ++i) {
            auto *row = new Disk(FakeProbix::last);
            row->setPartition(QString("/dev/nvme0n1p%1").arg(i + 1));
            row->setCapability("465.8");
            row->setUsecapability("100.2");
            FakeProbix::last->rows << row;
        }
        FakeProbix::last->show("2.4", "4", true);
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

    void timerCallsUpdate()
    {
        // Not at once on start, then again and again.
        QCOMPARE(FakeProbix::last->updates, 0);
        QTRY_COMPARE_WITH_TIMEOUT(FakeProbix::last->updates, 2, 6000);
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
        QCOMPARE(window->visibility(), QWindow::Windowed);
        QCOMPARE(window->position(), QPoint(130, 115));
    }

    void closeButtonClosesTheWindow()
    {
        testsupport::LogCapture log;
        QQuickItem *button = item("closeButton");
        QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier,
                          button->mapToScene(QPointF(17, 17)).toPoint());
        QTRY_VERIFY(!window->isVisible());
        QVERIFY(log.lines().contains("close Button clicked ~!!!!"));
    }
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
