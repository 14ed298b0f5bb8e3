// Test harness around the fake commands of tests/fakebin: puts them first on PATH, gives them a
// temporary folder of outputs, and records which command lines the toolkit ran.
#pragma once
#include <QDebug>
#include <QRegularExpression>
#include <QTemporaryDir>

class FakeCommands
{
public:
    // Lines of the message log since the last clear(); a test may read them directly.
    static QStringList &messages() { return s_messages; }

    // One lives as long as the test object, that is the whole run, so nothing is put back.
    FakeCommands()
    {
        qputenv("PATH", PROBIX_FAKEBIN ":" + qgetenv("PATH"));
        qputenv("PROBIX_FAKE_DIR", QFile::encodeName(m_dir.path()));
        qputenv("PROBIX_FAKE_LOG", QFile::encodeName(m_dir.filePath("commands.log")));
    }
    // From initTestCase on: QtTest puts its own handler in place when it starts running.
    void catchMessages() { qInstallMessageHandler(&catchMessage); }
    bool isValid() const { return m_dir.isValid(); }

    // Drops every output, the fake log and the caught messages.
    void clear()
    {
        QDir(m_dir.path()).removeRecursively();
        QDir().mkpath(m_dir.path());
        s_messages.clear();
    }
    // Writes the output of a fake command, or a file of the fake /proc with "proc/" in front.
    void put(const QString &name, const QByteArray &text)
    {
        QFile file(m_dir.filePath(name));
        QDir().mkpath(QFileInfo(file).path());
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("cannot write %s", qPrintable(file.fileName()));
    }
    void putFixture(const QString &name, const QString &fixture) { put(name, read(fixture)); }
    void emptyProc() { QDir().mkpath(m_dir.filePath("proc")); } // an empty fake /proc: no file of it exists
    // Command lines that mySystem::start ran, as QDebug quotes them.
    QStringList commands() const
    {
        const QRegularExpression line(R"((?s)^\[ start \] cmd = (.*) , workDir = .*)");
        return s_messages.filter(line).replaceInStrings(line, "\\1");
    }

    // What the fake executables themselves recorded, one "name arguments" line each.
    QStringList fakeLog() const
    {
        QFile file(m_dir.filePath("commands.log"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromLocal8Bit(file.readAll()).split('\n', Qt::SkipEmptyParts);
    }
    // As QDebug prints a text: in quotes, with backslashes and quotes escaped.
    static QString quoted(const QString &text)
    {
        QString out;
        QDebug(&out) << text;
        return out.trimmed();
    }
    static QStringList quoted(QStringList texts)
    {
        for (QString &text : texts)
            text = quoted(text);
        return texts;
    }
    static QByteArray read(const QString &fixture)
    {
        QFile file(QStringLiteral(PROBIX_TEST_DATA "/") + fixture);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("missing test data %s", qPrintable(file.fileName()));
        return file.readAll();
    }

private:
    static void catchMessage(QtMsgType, const QMessageLogContext &, const QString &s) { s_messages << s; }
    static inline QStringList s_messages;
    QTemporaryDir m_dir;
};
