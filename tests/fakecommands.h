// Test harness around the fake commands of tests/fakebin: puts them first on PATH,
// gives them a temporary folder of outputs, and records which command lines the
// toolkit ran by catching the debug lines of mySystem::start.
#pragma once
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QTemporaryDir>
#include <QtGlobal>

class FakeCommands
{
public:
    // Lines of the message log since the last clear(); a test may read them directly.
    static QStringList &messages()
    {
        static QStringList lines;
        return lines;
    }

    FakeCommands()
    {
        m_originalPath = qgetenv("PATH");
        qputenv("PATH", QByteArray(PROBIX_FAKEBIN) + ':' + m_originalPath);
        qputenv("PROBIX_FAKE_DIR", QFile::encodeName(m_dir.path()));
        qputenv("PROBIX_FAKE_LOG", QFile::encodeName(m_dir.filePath(QStringLiteral("commands.log"))));
    }

    // From initTestCase on: QtTest puts its own handler in place when it starts running.
    void catchMessages() { m_previousHandler = qInstallMessageHandler(&FakeCommands::catchMessage); }

    ~FakeCommands()
    {
        if (m_previousHandler)
            qInstallMessageHandler(m_previousHandler);
        qputenv("PATH", m_originalPath);
        qunsetenv("PROBIX_FAKE_DIR");
        qunsetenv("PROBIX_FAKE_LOG");
    }

    bool isValid() const { return m_dir.isValid(); }

    // Drops every output, the fake log and the caught messages.
    void clear()
    {
        QDir(m_dir.path()).removeRecursively();
        QDir().mkpath(m_dir.path());
        messages().clear();
    }

    // Writes the output of a fake command, or a file of the fake /proc with "proc/" in front.
    void put(const QString &name, const QByteArray &text)
    {
        const QString path = m_dir.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("cannot write %s", qPrintable(path));
    }

    void putFixture(const QString &name, const QString &fixture) { put(name, read(fixture)); }

    // An empty fake /proc: every file of it reads as missing.
    void emptyProc() { QDir().mkpath(m_dir.filePath(QStringLiteral("proc"))); }

    // Command lines that mySystem::start ran, as QDebug quotes them.
    QStringList commands() const
    {
        const QString opening = QStringLiteral("[ start ] cmd = ");
        const QString closing = QStringLiteral(" , workDir = ");
        QStringList found;
        for (const QString &line : qAsConst(messages())) {
            if (line.startsWith(opening))
                found << line.mid(opening.size(), line.lastIndexOf(closing) - opening.size());
        }
        return found;
    }

    // What the fake executables themselves recorded, one "name arguments" line each.
    QStringList fakeLog() const
    {
        QFile file(m_dir.filePath(QStringLiteral("commands.log")));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromLocal8Bit(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    static QString quoted(const QString &text)
    {
        QString out;
        QDebug(&out) << text;
        return out.trimmed();
    }

    static QStringList quoted(const QStringList &texts)
    {
        QStringList out;
        for (const QString &text : texts)
            out << quoted(text);
        return out;
    }

    static QByteArray read(const QString &fixture)
    {
        QFile file(QStringLiteral(PROBIX_TEST_DATA "/") + fixture);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("missing test data %s", qPrintable(file.fileName()));
        return file.readAll();
    }

private:
    static void catchMessage(QtMsgType, const QMessageLogContext &, const QString &text)
    {
        messages() << text;
    }

    QTemporaryDir m_dir;
    QByteArray m_originalPath;
    QtMessageHandler m_previousHandler = nullptr;
};
