// The fake commands of tests/fakebin: puts them first on PATH, gives them a temporary
// folder of outputs, and records which command lines the toolkit ran.
#pragma once
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <memory>

#include "support.h"

class FakeCommands
{
public:
    // One lives as long as the test object, that is the whole run, so nothing is put back.
    FakeCommands()
    {
        qputenv("PATH", PROBIX_FAKEBIN ":" + qgetenv("PATH"));
        qputenv("PROBIX_FAKE_DIR", QFile::encodeName(m_dir.path()));
        qputenv("PROBIX_FAKE_LOG", QFile::encodeName(m_dir.filePath("commands.log")));
    }
    // From initTestCase on: QtTest puts its own handler in place when it starts running.
    void catchMessages() { m_log = std::make_unique<testsupport::LogCapture>(); }
    bool isValid() const { return m_dir.isValid(); }

    // Drops every output, the fake log and the caught messages.
    void clear()
    {
        QDir(m_dir.path()).removeRecursively();
        QDir().mkpath(m_dir.path());
        if (m_log)
            m_log->clear();
    }
    // Writes the output of a fake command, or a file of the fake /proc with "proc/" in front.
    void put(const QString &name, const QByteArray &text)
    {
        testsupport::writeFile(m_dir.filePath(name), text);
    }
    void putFixture(const QString &name, const QString &fixture) { put(name, testsupport::fixture(fixture)); }
    void emptyProc() { QDir().mkpath(m_dir.filePath("proc")); } // an empty fake /proc: no file of it exists

    // Every message since the last clear(), and those with their level in front.
    QStringList messages() const { return m_log ? m_log->lines() : QStringList(); }
    QStringList messagesWithLevel() const { return m_log ? m_log->linesWithLevel() : QStringList(); }
    // Command lines that mySystem::start ran, as QDebug quotes them.
    QStringList commands() const
    {
        const QRegularExpression line(R"((?s)^\[ start \] cmd = (.*) , workDir = .*)");
        return messages().filter(line).replaceInStrings(line, "\\1");
    }
    // What the fake executables themselves recorded, one "name arguments" line each.
    QStringList fakeLog() const
    {
        QFile file(m_dir.filePath("commands.log"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromLocal8Bit(file.readAll()).split('\n', Qt::SkipEmptyParts);
    }

private:
    QTemporaryDir m_dir;
    std::unique_ptr<testsupport::LogCapture> m_log;
};
