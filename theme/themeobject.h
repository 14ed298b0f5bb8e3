// Colours, skin image paths, branding images and the application name for QML.
#pragma once
#include <QObject>

class ThemeObject : public QObject
{
    Q_OBJECT

public:
    explicit ThemeObject(QObject *parent = nullptr);
};
