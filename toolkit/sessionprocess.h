// A QProcess whose child starts a session of its own, so that no command of the
// toolkit can own the terminal that started the program: a "sudo" inside a command
// line finds no terminal to prompt on and fails at once instead of waiting.
#pragma once
#include <QByteArray>
#include <QList>
#include <QProcess>

class SessionProcess : public QProcess
{
    Q_OBJECT

public:
    // What is kept of each output channel. The rest is read and dropped as it comes,
    // so a command that prints without end neither blocks on a full pipe nor costs
    // more memory than this; the toolkit's commands print a few kilobytes.
    static constexpr int keptBytes = 1 << 20;

    explicit SessionProcess(QObject *parent = nullptr);
    // A command ended early (time-out, close, destruction) is ended with everything it
    // started, so no background job of the line outlives it.
    ~SessionProcess() override;
    void close() override;

    // Everything kept of standard output and standard error since the last start.
    QByteArray output() const { return m_output; }
    QByteArray errors() const { return m_errors; }
    // The kept output as readLine would hand it out: each line with its line feed,
    // the last one without when the output does not end in one.
    QList<QByteArray> outputLines() const;

protected:
    void setupChildProcess() override;

private:
    void killProcessGroup();
    static void keep(QByteArray &kept, const QByteArray &chunk);

    QByteArray m_output;
    QByteArray m_errors;
};
