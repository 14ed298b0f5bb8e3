#include "internationalization.h"

#include <QLocale>
#include <QMutex>
#include <QSettings>
#include <QStandardPaths>
#include <QTextCodec>

#include <cctype>

namespace
{
Internationalization *self = nullptr;
}

Internationalization::Internationalization(QObject *parent) : QObject(parent) {}

Internationalization *Internationalization::instance()
{
    static QMutex mutex(QMutex::NonRecursive);
    if (self)
        return self;
    // Kept as it is: the pointer is not tested again under the lock. Both
    // callers of this program run on the GUI thread.
    mutex.lock();
    self = new Internationalization(nullptr);
    mutex.unlock();
    return self;
}

QString Internationalization::language()
{
    // The Windows path serves the toolkit's other users; nothing here switches to it.
    const QString path = m_useProgramData
                             ? QStringLiteral("C:/ProgramData/Quillroom/language_installed.ini")
                             : QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) +
                                   "/Tessera/language_installed.ini";
    QSettings settings(path, QSettings::IniFormat);
    settings.setIniCodec(QTextCodec::codecForName("UTF-8"));
    settings.beginGroup("System");
    QString result;
    if (settings.contains("Language"))
        result = settings.value("Language", QVariant()).toString();
    return result;
}

QString Internationalization::systemLanguage()
{
    const QLocale::Language language = QLocale().language();
    QByteArray name = QLocale::system().name().toUtf8();
    for (char &c : name)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    // Hong Kong and the bare "C" locale read English on these terminals.
    if (language == QLocale::English || language == QLocale::C || name == "zh_hk" || name == "c")
        return QStringLiteral("English");
    return QStringLiteral("Chinese");
}

bool Internationalization::isEnglish()
{
    const QString chosen = language();
    if (chosen.isEmpty() || chosen == QLatin1String("Auto"))
        return systemLanguage() == QLatin1String("English");
    return chosen == QLatin1String("English");
}
