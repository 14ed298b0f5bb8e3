// The INI files the program reads through QSettings: the desktop client's language
// file, the agent's config.ini (read by getClientProductName and by the System row's
// label on Corvex terminals) and the client's settings.ini that ServerInfo reads.
// The input holds the three files in that order, cut at the record separator byte
// 0x1e; a file the input does not reach is absent. Each file is written where its
// reader looks, under a temporary HOME, before the readers run.
#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QList>
#include <QSet>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "desklinkworker.h"
#include "fuzzing.h"
#include "internationalization.h"
#include "mysystem.h"
#include "oslabel.h"
#include "serverinfo.h"

namespace
{

QString home;
QByteArray languageFile;
QByteArray agentFile;
QByteArray settingsFile;
QString labelRoot;
QString labelApplicationDir;

// QSettings keeps a file it has read and reads it again only when its size or its
// modification time changed. Inputs come faster than the clock moves, so two of the
// same size would look alike: every write therefore gets a second of its own.
time_t modified = 1000000000;

void place(const QByteArray &path, const char *text, std::size_t size, bool present)
{
    if (!present) {
        if (::unlink(path.constData()) != 0 && errno != ENOENT)
            fuzzing::fail("cannot remove an INI file");
        return;
    }
    std::FILE *file = std::fopen(path.constData(), "wb");
    if (!file || (size && std::fwrite(text, 1, size, file) != size) || std::fclose(file) != 0)
        fuzzing::fail("cannot write an INI file");
    const timespec times[2] = {{modified, 0}, {modified, 0}};
    ++modified;
    if (::utimensat(AT_FDCWD, path.constData(), times, 0) != 0)
        fuzzing::fail("cannot set an INI file's time");
}

void makePath(const QString &path)
{
    if (!QDir().mkpath(path))
        fuzzing::fail("cannot make the temporary HOME's folders");
}

void removeHome()
{
    if (!home.isEmpty())
        QDir(home).removeRecursively();
}

// arrayIndices must agree with a walk over every index below size; the walk is
// affordable for small sizes only.
void checkArrayIndices(const QStringList &groups, int size)
{
    const QList<int> indices = ServerInfo::arrayIndices(groups, size);
    if (!std::is_sorted(indices.cbegin(), indices.cend()))
        fuzzing::fail("arrayIndices is not ascending");
    for (int index : indices)
        if (index < 0 || index >= size)
            fuzzing::fail("arrayIndices gave an index outside the stated size");
    if (size > 512)
        return;
    const QSet<QString> present(groups.cbegin(), groups.cend());
    QList<int> walked;
    for (int index = 0; index < size; ++index)
        if (present.contains(QString::number(index + 1)))
            walked.append(index);
    if (indices != walked)
        fuzzing::fail("arrayIndices differs from a walk over the indices");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    fuzzing::dropLog();

    // QStandardPaths finds Documents through HOME once XDG_CONFIG_HOME is gone.
    char folder[] = "/tmp/probix-fuzz-ini-XXXXXX";
    if (!::mkdtemp(folder))
        fuzzing::fail("cannot make a temporary HOME");
    ::setenv("HOME", folder, 1);
    ::unsetenv("XDG_CONFIG_HOME");
    home = QString::fromLocal8Bit(folder);
    std::atexit(removeHome);

    // For the whole process: applicationDirPath and the locale need it.
    new QCoreApplication(*argc, *argv);

    // A certificate beside the target would let the settings open a real channel.
    if (QFile::exists(QCoreApplication::applicationDirPath() + QStringLiteral("/config/grpcserver.pem")))
        fuzzing::fail("config/grpcserver.pem stands beside the fuzz target; remove it");

    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (documents != home + QStringLiteral("/Documents"))
        fuzzing::fail("the Documents folder is not under the temporary HOME");
    makePath(documents + QStringLiteral("/Tessera"));
    languageFile = QFile::encodeName(documents + QStringLiteral("/Tessera/language_installed.ini"));
    settingsFile = QFile::encodeName(documents + QStringLiteral("/Tessera/settings.ini"));

    // The label reads the agent's config two levels above the application's folder,
    // and only where the Corvex marker stands; an empty marker counts.
    labelRoot = home + QStringLiteral("/root");
    labelApplicationDir = home + QStringLiteral("/opt/Tessera/bin");
    makePath(labelRoot + QStringLiteral("/etc"));
    makePath(labelApplicationDir);
    makePath(home + QStringLiteral("/opt/Tolvane"));
    agentFile = QFile::encodeName(home + QStringLiteral("/opt/Tolvane/config.ini"));
    QFile marker(labelRoot + QStringLiteral("/etc/corvex-version"));
    if (!marker.open(QIODevice::WriteOnly))
        fuzzing::fail("cannot write the Corvex marker");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray input =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QByteArray *const files[3] = {&languageFile, &agentFile, &settingsFile};
    QByteArray settingsText;
    bool settingsPresent = false;
    int from = 0;
    for (int i = 0; i < 3; ++i) {
        const bool present = from >= 0;
        const int cut = present ? input.indexOf('\x1e', from) : -1;
        const int length = present ? (cut < 0 ? input.size() : cut) - from : 0;
        place(*files[i], input.constData() + (present ? from : 0), std::size_t(length), present);
        if (i == 2 && present) {
            settingsText = input.mid(from, length);
            settingsPresent = true;
        }
        from = cut < 0 ? -1 : cut + 1;
    }

    Internationalization *languages = Internationalization::instance();
    const QString language = languages->language();
    const bool english = languages->isEnglish();
    const bool followsLocale = language.isEmpty() || language == QLatin1String("Auto");
    if (english != (followsLocale ? languages->systemLanguage() == QLatin1String("English")
                                  : language == QLatin1String("English")))
        fuzzing::fail("isEnglish did not follow the language file");

    const QString product = mySystem::getClientProductName(QFile::decodeName(agentFile));
    if (product != QLatin1String("Fennlake_Gamma") &&
        product.compare(QLatin1String("Tessera"), Qt::CaseInsensitive) != 0 &&
        product.compare(QLatin1String("Fennlake_Alpha"), Qt::CaseInsensitive) != 0)
        fuzzing::fail("getClientProductName gave a product it does not know");
    // Both read the same key of the same file.
    const QString label = operatingSystemLabel(labelRoot, labelApplicationDir);
    const bool alpha = product.compare(QLatin1String("Fennlake_Alpha"), Qt::CaseInsensitive) == 0;
    if (label != (alpha ? QLatin1String("Fennlake_Beta") : QLatin1String("Corvex")))
        fuzzing::fail("the System row's label and getClientProductName read the agent's config differently");

    // A fresh object each time, so that one input's server does not decide the next
    // one's. Without a certificate its worker opens no channel, and it is gone,
    // thread and all, when the object is.
    {
        ServerInfo server;
        server.reloadSettings();
        if (const DeskLinkWorker *worker = server.worker()) {
            if (server.ip().isEmpty() || server.port().isEmpty() || worker->address() != server.ip() ||
                worker->port() != server.port().toUShort(nullptr, 10))
                fuzzing::fail("ServerInfo's worker serves another server than the one it shows");
        }
    }

    // The settings' lines stand for child group names; the last four bytes give the size.
    int stated = 0;
    if (size >= sizeof stated)
        std::memcpy(&stated, data + size - sizeof stated, sizeof stated);
    // With its length: the QByteArray overload of fromUtf8 would stop at the first NUL byte.
    QStringList groups;
    if (settingsPresent)
        groups = QString::fromUtf8(settingsText.constData(), settingsText.size()).split(QLatin1Char('\n'));
    // Child groups are unique; a walk over the indices cannot find one twice.
    groups.removeDuplicates();
    checkArrayIndices(groups, stated);
    return 0;
}
