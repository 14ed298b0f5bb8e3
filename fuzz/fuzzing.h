// What every fuzz target shares: the program's log dropped, since formatting it would
// cost more than the parsing under test, with qFatal still fatal; and a broken promise
// of a parser reported as a crash, so that libFuzzer saves the input.
#pragma once
#include <QString>
#include <QtGlobal>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace fuzzing
{

inline void dropLog()
{
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &message) {
        if (type != QtFatalMsg)
            return;
        std::fprintf(stderr, "%s\n", qPrintable(message));
        std::abort();
    });
}

[[noreturn]] inline void fail(const char *broken, const QString &input = QString())
{
    std::fprintf(stderr, "%s: %s%s\n", program_invocation_short_name, broken,
                 input.isNull() ? "" : qPrintable(QStringLiteral(": \"%1\"").arg(input)));
    std::abort();
}

} // namespace fuzzing
