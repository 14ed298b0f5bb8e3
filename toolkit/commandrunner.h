// The one place where the toolkit starts a child and waits for it. Every child leads a
// session of its own, so a "sudo" inside a command line finds no terminal to prompt on
// and fails at once instead of waiting; its standard input is an open, empty pipe; and
// a child given up at the end of its wait goes together with everything it started.
// Children are started with posix_spawn: the window holds 60 to 140 MiB, and forking it
// for every command of a refresh costs milliseconds that spawning does not.
#pragma once
#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

namespace CommandRunner
{

// What is kept of each output channel. The rest is read and dropped as it comes, so a
// command that prints without end neither blocks on a full pipe nor costs more memory
// than this; the toolkit's commands print a few kilobytes.
constexpr int keptBytes = 1 << 20;

struct Command {
    QString program; // a bare name is looked up on PATH, as QProcess does
    QStringList arguments;
    QString workDir; // empty: the program's own
    // Standard output and error go to the program's own channels instead of being read.
    bool forwardOutput = false;
};

// "sh -c line": pipes, redirections and substitutions work as written.
Command shellLine(const QString &line);
// No shell: the line is split into program and arguments by QProcess's quoting rules,
// so pipes and redirections reach the program as plain arguments.
Command splitLine(const QString &line);

struct Result {
    bool started = false;  // false: the program could not be run at all
    bool finished = false; // it ended within the wait
    int exitCode = -1;     // its exit status, or the signal that ended it
    bool crashed = false;  // ended by a signal
    QByteArray output;     // what it printed within the wait, up to keptBytes each
    QByteArray errors;

    // The output as QIODevice::readLine would hand it out: each line with its line
    // feed, the last one without when the output does not end in one.
    QList<QByteArray> outputLines() const;
};

// Starts the command and waits at most waitMs (negative: without limit). A command that
// has not ended by then is killed with its whole process group.
Result run(const Command &command, int waitMs);

// system() with the shell in a session of its own: output and input are the program's
// own, SIGINT and SIGQUIT are ignored during the wait as system() does. Returns the raw
// wait status, or -1 when no shell could be started.
int system(const QByteArray &line);

} // namespace CommandRunner
