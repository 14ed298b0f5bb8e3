// The one decision between the Chinese source texts and the English translation.
#pragma once
#include <QObject>

class Internationalization : public QObject
{
    Q_OBJECT

public:
    static Internationalization *instance();
    bool isEnglish() const;

private:
    explicit Internationalization(QObject *parent = nullptr);
};
