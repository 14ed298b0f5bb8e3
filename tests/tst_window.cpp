// The window document against a model the test controls: rows, warnings,
// translation, disk list, refresh timer, dragging and the close button.
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTranslator>
#include <QtQml>
#include <QtTest>

#include "disk.h"
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

// Stands in for the real model under the same QML name, so every figure the
// window shows is chosen by the test.
class FakeProbix : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString memoryTotal MEMBER memoryTotal NOTIFY infoChanged)
    Q_PROPERTY(QString memoryRatio MEMBER memoryRatio NOTIFY infoChanged)
    Q_PROPERTY(QQmlListProperty<Disk> disks READ disks NOTIFY infoChanged)
    Q_PROPERTY(QString cpuFrequency MEMBER cpuFrequency NOTIFY infoChanged)
    Q_PROPERTY(QString os MEMBER os NOTIFY infoChanged)
    Q_PROPERTY(FakeServer *serverinfo READ serverinfo NOTIFY infoChanged)
public:
    static inline FakeProbix *last = nullptr;
    explicit FakeProbix(QObject *parent = nullptr) : QObject(parent) { last = this; }
    ~FakeProbix() override { last = nullptr; }

    Q_INVOKABLE void update() { ++updates; }

    QQmlListProperty<Disk> disks()
    {
        return QQmlListProperty<Disk>(
            this, nullptr,
            [](QQmlListProperty<Disk> *l) { return static_cast<FakeProbix *>(l->object)->rows.size(); },
            [](QQmlListProperty<Disk> *l, int i) { return &static_cast<FakeProbix *>(l->object)->rows[i]; });
    }
    FakeServer *serverinfo() { return &server; }
    void changed()
    {
        emit server.serverInfoChanged();
        emit infoChanged();
    }

    QString memoryTotal, memoryRatio, cpuFrequency, os;
    QList<Disk> rows;
    FakeServer server;
    int updates = 0;
signals:
    void infoChanged();
};

class TestWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void emptyAnswersShowThreeWarnings();
    void thresholdsJudgeTheText_data();
    void thresholdsJudgeTheText();
    void networkRow();
    void englishTranslation();
    void translationHasEveryMessage();
    void manyDisksScrollSideways();
    void timerCallsUpdate();
    void dragMovesAtMostEvery40ms();
    void closeButtonClosesTheWindow();

private:
    QQuickItem *item(const QString &name, QQuickItem *under = nullptr) const;
    QString line(const QString &row, const QString &which) const;
    QString warning(const QString &row) const;
    void load();

    QQmlApplicationEngine *engine = nullptr;
    QQuickWindow *window = nullptr;
};

void TestWindow::initTestCase()
{
    qmlRegisterType<ThemeObject>("Themes", 1, 0, "Themes");
    qmlRegisterType<FakeProbix>("com.virtual.vdi", 1, 0, "Probix");
    qmlRegisterType<Disk>("com.virtual.vdi", 1, 0, "Disk");
}

void TestWindow::load()
{
    engine = new QQmlApplicationEngine;
    engine->load(QUrl("qrc:/qml/main.qml"));
    QCOMPARE(engine->rootObjects().size(), 1);
    window = qobject_cast<QQuickWindow *>(engine->rootObjects().first());
    QVERIFY(window);
    QVERIFY(QTest::qWaitForWindowExposed(window));
    QVERIFY(FakeProbix::last);
}

void TestWindow::init()
{
    load();
}

void TestWindow::cleanup()
{
    delete engine;
    engine = nullptr;
    window = nullptr;
}

// Visual children are not always QObject children, so walk the item tree.
static void collect(QQuickItem *root, const QString &name, QList<QQuickItem *> &found)
{
    for (QQuickItem *child : root->childItems()) {
        if (child->objectName() == name)
            found << child;
        collect(child, name, found);
    }
}

static QList<QQuickItem *> items(QQuickItem *root, const QString &name)
{
    QList<QQuickItem *> found;
    if (root)
        collect(root, name, found);
    return found;
}

QQuickItem *TestWindow::item(const QString &name, QQuickItem *under) const
{
    const QList<QQuickItem *> found = items(under ? under : window->contentItem(), name);
    return found.isEmpty() ? nullptr : found.first();
}

QString TestWindow::line(const QString &row, const QString &which) const
{
    QQuickItem *text = item(which, item(row));
    if (!text || !text->isVisible())
        return QString();
    return text->property("text").toString();
}

QString TestWindow::warning(const QString &row) const
{
    QQuickItem *mark = item("warning", item(row));
    return mark && mark->isVisible() ? item("warningText", mark)->property("text").toString() : QString();
}

void TestWindow::emptyAnswersShowThreeWarnings()
{
    FakeProbix *model = FakeProbix::last;
    model->cpuFrequency = "0.0";
    model->memoryTotal = "0";
    model->changed();

    QCOMPARE(window->title(), QString::fromUtf8("硬件检测"));
    QCOMPARE(window->size(), QSize(740, 570));
    QVERIFY(window->flags() & Qt::FramelessWindowHint);
    const QStringList shown = {line("cpuInfor", "titleLine"),           line("cpuInfor", "localLine"),
                               line("cpuInfor", "recommendLine"),       line("memeryInfor", "localLine"),
                               line("memeryInfor", "recommendLine"),    line("bandwidthInfor", "localLine"),
                               line("bandwidthInfor", "recommendLine"), line("systemInfor", "localLine")};
    QCOMPARE(shown, QString::fromUtf8("CPU|本机：0.0 GHz|推荐：2.3 GHz以上|本机：0 GB|推荐：2 GB以上||"
                                      "客户端当前配置地址： : |")
                        .split('|'));
    QCOMPARE(warning("cpuInfor"), QString::fromUtf8("CPU主频低"));
    QCOMPARE(warning("memeryInfor"), QString::fromUtf8("内存过低"));
    QCOMPARE(warning("bandwidthInfor"), QString::fromUtf8("故障"));
    QCOMPARE(warning("systemInfor"), QString());

    // Warnings are told by the mark alone: every circle stays green, on screen too.
    const QList<QQuickItem *> circles = items(window->contentItem(), "iconCircle");
    QCOMPARE(circles.size(), 5);
    const QImage shot = window->grabWindow();
    for (QQuickItem *circle : circles)
        QCOMPARE(shot.pixelColor(circle->mapToScene(QPointF(4, 18)).toPoint()), QColor("#52c41a"));
}

void TestWindow::thresholdsJudgeTheText_data()
{
    QTest::addColumn<QString>("frequency");
    QTest::addColumn<QString>("memory");
    QTest::addColumn<bool>("cpuWarns");
    QTest::addColumn<bool>("memoryWarns");
    QTest::newRow("at both thresholds") << "2.3"
                                        << "2" << false << false;
    QTest::newRow("just below both") << "2.2"
                                     << "1.9" << true << true;
    QTest::newRow("exponent memory text") << "3.0"
                                          << "1.3e+02" << false << false;
    QTest::newRow("empty texts count as zero") << ""
                                               << "" << true << true;
}

void TestWindow::thresholdsJudgeTheText()
{
    QFETCH(QString, frequency);
    QFETCH(QString, memory);
    QFETCH(bool, cpuWarns);
    QFETCH(bool, memoryWarns);
    FakeProbix *model = FakeProbix::last;
    model->cpuFrequency = frequency;
    model->memoryTotal = memory;
    model->changed();
    QCOMPARE(!warning("cpuInfor").isEmpty(), cpuWarns);
    QCOMPARE(!warning("memeryInfor").isEmpty(), memoryWarns);
    QCOMPARE(line("cpuInfor", "localLine"), QString::fromUtf8("本机：") + frequency + " GHz");
}

void TestWindow::networkRow()
{
    FakeProbix *model = FakeProbix::last;
    model->server.ip = "10.0.0.1";
    model->server.port = "443";
    model->server.available = true;
    model->changed();
    QCOMPARE(line("bandwidthInfor", "localLine"), QString::fromUtf8("状态：良好"));
    QCOMPARE(line("bandwidthInfor", "recommendLine"),
             QString::fromUtf8("客户端当前配置地址：10.0.0.1 : 443"));
    QCOMPARE(warning("bandwidthInfor"), QString());

    // The server's own signal is enough for the row to follow.
    model->server.available = false;
    emit model->server.serverInfoChanged();
    QCOMPARE(line("bandwidthInfor", "localLine"), QString());
    QCOMPARE(warning("bandwidthInfor"), QString::fromUtf8("故障"));
}

void TestWindow::englishTranslation()
{
    cleanup();
    QTranslator translator;
    QVERIFY(translator.load(":/probix_en.qm", "", "", ""));
    QCoreApplication::installTranslator(&translator);
    load();
    FakeProbix *model = FakeProbix::last;
    model->cpuFrequency = "2.4";
    model->memoryTotal = "1.9";
    model->server.available = true;
    model->changed();

    QCOMPARE(window->title(), QString("Hardware detection"));
    QCOMPARE(item("titleText")->property("text").toString(), QString("Hardware detection"));
    const QStringList shown = {line("cpuInfor", "titleLine"),
                               line("cpuInfor", "localLine"),
                               line("cpuInfor", "recommendLine"),
                               line("memeryInfor", "titleLine"),
                               line("memeryInfor", "recommendLine"),
                               line("bandwidthInfor", "titleLine"),
                               line("bandwidthInfor", "localLine"),
                               line("bandwidthInfor", "recommendLine"),
                               line("resolutionInfor", "titleLine"),
                               line("systemInfor", "titleLine"),
                               warning("memeryInfor")};
    QCOMPARE(shown,
             QString::fromUtf8("CPU|native：2.4 GHz|recommend：2.3 GHzor more|RAM|recommend：2 GBor more|"
                               "Network|status：good|Client current configuration address： : |Disk|"
                               "Operating System|Memory is too low")
                 .split('|'));
    model->cpuFrequency = "1.0";
    model->server.available = false;
    model->changed();
    QCOMPARE(warning("cpuInfor"), QString("Low CPU frequency"));
    QCOMPARE(warning("bandwidthInfor"), QString("malfunction"));
    QCoreApplication::removeTranslator(&translator);
}

void TestWindow::translationHasEveryMessage()
{
    QTranslator translator;
    QVERIFY(translator.load(":/probix_en.qm", "", "", ""));
    QCOMPARE(translator.language(), QString("en_US"));
    // The window shows all but the tool tip; this checks every message of the file.
    const QStringList sources =
        QString::fromUtf8("硬件检测|关闭|CPU主频低|本机|推荐|以上|内存|内存过低|网络|故障|状态|良好|"
                          "客户端当前配置地址|磁盘|系统")
            .split('|');
    QStringList translated;
    for (const QString &source : sources)
        translated << translator.translate("main", source.toUtf8());
    QCOMPARE(translated.join('|'),
             QString("Hardware detection|close|Low CPU frequency|native|recommend|or more|"
                     "RAM|Memory is too low|Network|malfunction|status|good|"
                     "Client current configuration address|Disk|Operating System"));
    QVERIFY(translator.translate("main", "CPU").isEmpty());
}

void TestWindow::manyDisksScrollSideways()
{
    FakeProbix *model = FakeProbix::last;
    for (int i = 0; i < 9; ++i) {
        Disk row;
        row.setPartition(QString("/dev/nvme0n1p%1").arg(i + 1));
        row.setCapability("465.8");
        row.setUsecapability("100.2");
        model->rows.append(row);
    }
    model->changed();
    QQuickItem *list = item("diskGridView");
    QVERIFY(list);
    QTRY_COMPARE(list->property("count").toInt(), 9);
    const qreal rowHeight = item("resolutionInfor")->height();
    QVERIFY(list->property("contentWidth").toReal() > list->width());
    QCOMPARE(item("resolutionInfor")->height(), rowHeight);
    QVERIFY(item("resolutionInfor")->height() == 75);

    QStringList texts;
    for (QQuickItem *text : items(list, QString()))
        if (text->property("text").isValid())
            texts << text->property("text").toString();
    QVERIFY(texts.contains("/dev/nvme0n1p1"));
    QVERIFY(texts.contains("365.6 GB / 465.8 GB"));
}

void TestWindow::timerCallsUpdate()
{
    QObject *timer = window->findChild<QObject *>("updateTimer");
    QVERIFY(timer);
    QCOMPARE(timer->property("interval").toInt(), 2000);
    QVERIFY(timer->property("running").toBool());
    QVERIFY(timer->property("repeat").toBool());
    QCOMPARE(FakeProbix::last->updates, 0);
    QTRY_COMPARE_WITH_TIMEOUT(FakeProbix::last->updates, 1, 4000);
}

void TestWindow::dragMovesAtMostEvery40ms()
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
    const QPoint before = window->position();
    QTest::mouseDClick(window, Qt::LeftButton, Qt::NoModifier, grip);
    QTest::qWait(50);
    QCOMPARE(window->visibility(), QWindow::Windowed);
    QCOMPARE(window->position(), before);
}

static QStringList closeLines;
static void captureClose(QtMsgType, const QMessageLogContext &, const QString &message)
{
    closeLines << message;
}

void TestWindow::closeButtonClosesTheWindow()
{
    QQuickItem *button = item("closeButton");
    QVERIFY(button);
    QCOMPARE(button->width(), 34.0);
    const QPoint centre = button->mapToScene(QPointF(17, 17)).toPoint();
    QVERIFY(centre.x() > 740 - 60);
    QtMessageHandler previous = qInstallMessageHandler(captureClose);
    QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, centre);
    qInstallMessageHandler(previous);
    QTRY_VERIFY(!window->isVisible());
    QVERIFY(closeLines.contains("close Button clicked ~!!!!"));
}

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
