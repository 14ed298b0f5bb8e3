#include "fleetcheck.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QJSValue>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include "desklinkworker.h"
#include "probix.h"

namespace FleetCheck
{

bool meets(const QString &shown, double requirement)
{
    // The window writes `figure < requirement` in QML, where the text becomes a
    // number by JavaScript's rules; QJSValue converts by the same rules.
    return !(QJSValue(shown).toNumber() < requirement);
}

bool Report::cpuPasses() const
{
    return meets(cpu, cpuRequirementGhz);
}

bool Report::memoryPasses() const
{
    return meets(memory, memoryRequirementGb);
}

void waitForAnswer(ServerInfo &server)
{
    if (!server.worker())
        return;
    QEventLoop loop;
    QObject::connect(&server, &ServerInfo::answered, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    // Counted after connecting, so an answer given in between is not missed.
    if (server.answers() > 0)
        return;
    QTimer::singleShot(DeskLinkWorker::deadlineMs + 1000, &loop, &QEventLoop::quit);
    loop.exec();
}

Report read(Probix &model)
{
    Report report;
    report.cpu = model.cpuFrequency();
    report.memory = model.memoryTotal();
    report.serverAddress = model.serverinfo()->ip();
    report.serverPort = model.serverinfo()->port();
    report.answered = model.serverinfo()->available();
    QQmlListProperty<Disk> disks = model.disks();
    for (int index = 0; index < Probix::diskCount(&disks); ++index) {
        const Disk *disk = Probix::diskAt(&disks, index);
        report.disks.append({disk->partition(), disk->availablecapability(), disk->capability()});
    }
    report.os = model.os();
    return report;
}

// The window's own words come from its translation context; the check's few
// words of its own have theirs.
static QString window(const char *source)
{
    return QCoreApplication::translate("main", source);
}

static QString check(const char *source)
{
    return QCoreApplication::translate("check", source);
}

static QString mark(bool passes, const char *warning)
{
    return passes ? check("通过") : check("未通过") + "（" + window(warning) + "）";
}

QString text(const Report &report)
{
    const QString gap = QStringLiteral("  ");
    QStringList lines;
    lines << "CPU" + gap + window("本机") + "：" + report.cpu + " GHz" + gap + window("推荐") + "：" +
                 QString::number(cpuRequirementGhz) + " GHz" + window("以上") + gap +
                 mark(report.cpuPasses(), "CPU主频低");
    lines << window("内存") + gap + window("本机") + "：" + report.memory + " GB" + gap + window("推荐") +
                 "：" + QString::number(memoryRequirementGb) + " GB" + window("以上") + gap +
                 mark(report.memoryPasses(), "内存过低");
    QString network = window("网络") + gap;
    if (report.answered)
        network += window("状态") + "：" + window("良好") + gap;
    lines << network + window("客户端当前配置地址") + "：" + report.serverAddress + " : " +
                 report.serverPort + gap + mark(report.answered, "故障");
    QStringList disks;
    for (const DiskFigures &disk : report.disks)
        disks << disk.device + " " + disk.free + " GB / " + disk.total + " GB";
    lines << window("磁盘") + gap + disks.join("; ");
    lines << window("系统") + gap + report.os;
    lines << (report.suitable() ? check("结论：本终端满足桌面客户端的要求")
                                : check("结论：本终端不满足桌面客户端的要求"));
    return lines.join('\n') + '\n';
}

QByteArray json(const Report &report, const QString &version)
{
    QJsonArray disks;
    for (const DiskFigures &disk : report.disks)
        disks.append(QJsonObject{{"device", disk.device}, {"free", disk.free}, {"total", disk.total}});
    const QJsonObject object{
        {"version", version},
        {"suitable", report.suitable()},
        {"cpu",
         QJsonObject{{"ghz", report.cpu}, {"requirement", cpuRequirementGhz}, {"pass", report.cpuPasses()}}},
        {"memory", QJsonObject{{"gb", report.memory},
                               {"requirement", memoryRequirementGb},
                               {"pass", report.memoryPasses()}}},
        {"server", QJsonObject{{"address", report.serverAddress},
                               {"port", report.serverPort},
                               {"answered", report.answered}}},
        {"disks", disks},
        {"os", QJsonObject{{"label", report.os}}},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace FleetCheck
