// Is the terminal's language English? The desktop client's language file
// decides; where it is missing or says "Auto", the system locale does.
#pragma once
#include <QObject>
#include <QString>

class Internationalization : public QObject
{
    Q_OBJECT

public:
    static Internationalization *instance();

    QString language();
    QString systemLanguage();
    bool isEnglish();

    bool useProgramData() const { return m_useProgramData; }
    void setUseProgramData(bool use) { m_useProgramData = use; }

private:
    explicit Internationalization(QObject *parent = nullptr);

    bool m_useProgramData = false;
};
