// The window's judgement without a window, for checking many terminals at once:
// the model's texts after one refresh, judged as the window judges them, printed
// as lines in the terminal's language or as one JSON object.
#pragma once
#include <QByteArray>
#include <QList>
#include <QString>

class Probix;
class ServerInfo;

namespace FleetCheck
{

// The requirements the window compares its shown figures with.
constexpr double cpuRequirementGhz = 2.3;
constexpr double memoryRequirementGb = 2;

struct DiskFigures {
    QString device;
    QString free;
    QString total;
};

struct Report {
    QString cpu; // the texts the window shows, as they stand
    QString memory;
    QString serverAddress;
    QString serverPort;
    bool answered = false;
    QList<DiskFigures> disks;
    QString os;

    bool cpuPasses() const;
    bool memoryPasses() const;
    bool suitable() const { return cpuPasses() && memoryPasses() && answered; }
};

// Whether a shown figure meets its requirement, by the window's own rule: its
// warning stands where the text, read as a JavaScript number, is below the
// requirement. An empty text reads as 0 and warns; a text that is no number
// (such as "nan") is never below anything and does not.
bool meets(const QString &shown, double requirement);

// Waits until the server of the current settings has answered, at most the
// worker's deadline and a margin; returns at once when none is configured.
void waitForAnswer(ServerInfo &server);

// The figures of the model as the window shows them now.
Report read(Probix &model);

// One line per row, in the installed translation, then the verdict.
QString text(const Report &report);
// One JSON object with stable keys; see the README.
QByteArray json(const Report &report, const QString &version);

} // namespace FleetCheck
