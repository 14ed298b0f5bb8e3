// probix-check: the window's judgement of this terminal printed instead of shown,
// for asking a whole fleet at once. One refresh, the server's answer awaited,
// then the rows on stdout and the verdict as the exit status.
#include <QCoreApplication>
#include <QStringList>

#include <cstdio>

#include "fleetcheck.h"
#include "probix.h"
#include "translation.h"

static const char usage[] = "Usage: probix-check [--json]\n"
                            "Checks whether this terminal suits the virtual-desktop client, as the probix\n"
                            "window does, and prints the five rows and a verdict.\n"
                            "\n"
                            "  --json      print one JSON object instead of text lines\n"
                            "  --help      print this help and exit\n"
                            "  --version   print the version and exit\n"
                            "\n"
                            "Exit status: 0 the terminal suits, 1 it does not, 2 a usage error.\n";

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    bool asJson = false;
    for (const QString &argument : QCoreApplication::arguments().mid(1)) {
        if (argument == "--json") {
            asJson = true;
        } else if (argument == "--help" || argument == "-h") {
            std::fputs(usage, stdout);
            return 0;
        } else if (argument == "--version") {
            std::printf("probix-check %s\n", PROBIX_VERSION);
            return 0;
        } else {
            std::fprintf(stderr, "probix-check: unknown option '%s'\nTry 'probix-check --help'.\n",
                         qPrintable(argument));
            return 2;
        }
    }

    installTranslation();
    Probix model; // its constructor runs the refresh and asks the server
    FleetCheck::waitForAnswer(*model.serverinfo());
    const FleetCheck::Report report = FleetCheck::read(model);
    const QByteArray out =
        asJson ? FleetCheck::json(report, PROBIX_VERSION) : FleetCheck::text(report).toUtf8();
    std::fwrite(out.constData(), 1, static_cast<size_t>(out.size()), stdout);
    return report.suitable() ? 0 : 1;
}
