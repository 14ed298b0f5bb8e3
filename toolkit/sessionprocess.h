// A QProcess whose child starts a session of its own, so that no command of the
// toolkit can own the terminal that started the program: a "sudo" inside a command
// line finds no terminal to prompt on and fails at once instead of waiting.
#pragma once
#include <QProcess>

class SessionProcess : public QProcess
{
    Q_OBJECT

public:
    explicit SessionProcess(QObject *parent = nullptr);
    // A command ended early (time-out, close, destruction) is ended with everything it
    // started, so no background job of the line outlives it.
    ~SessionProcess() override;
    void close() override;

protected:
    void setupChildProcess() override;

private:
    void killProcessGroup();
};
