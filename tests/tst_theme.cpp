// The theme object as QML meets it: its setter rule on every property, the one setter
// that always speaks, skin paths, and the branding image lookup.
#include <QtTest>

#include "ccustomimg.h"
#include "themeobject.h"

// Points the device-wide folder into a temporary folder of its own, so no test goes near /userdata.
struct RelocatedCustomImg : CCustomImg {
    QTemporaryDir folder;
    QString customResourcePattern() const override { return folder.path() + "/%1"; }
};

class TstTheme : public QObject
{
    Q_OBJECT

private slots:
    // Every writable property, so that a setter wired to another field or signal shows.
    void setterRule()
    {
        QCOMPARE(ThemeObject().resourceFilepath("a.png"), "qrc:/images/dark/a.png");
        const QMetaObject &mo = ThemeObject::staticMetaObject;
        const QVariantMap values{{"QColor", QColor(1, 2, 3)},
                                 {"QUrl", QUrl("file:///logo.png")},
                                 {"QString", "Probix"},
                                 {"bool", true}};
        for (int i = mo.propertyOffset(); i < mo.propertyCount(); ++i) {
            const QMetaProperty property = mo.property(i);
            if (!property.isWritable())
                continue;
            const QVariant value = values.value(property.typeName());
            QVERIFY2(value.isValid(), property.name());
            ThemeObject theme;
            QSignalSpy spy(&theme, property.notifySignal());
            QVERIFY(property.write(&theme, property.read(&theme)));
            QVERIFY(property.write(&theme, value) && property.write(&theme, value));
            // Writing the stored value is silent, so only the first new write is heard; the one
            // exception, heard every time, starts true.
            const QList<QVariantList> heard = qstrcmp(property.name(), "logoImgIsEmpty") == 0
                                                  ? QList<QVariantList>{{true}, {true}, {true}}
                                                  : QList<QVariantList>{{value}};
            QVERIFY2(QList<QVariantList>(spy) == heard, property.name());
            QCOMPARE(property.read(&theme), value);
        }
    }

    void imageLookup()
    {
        // Only this test puts a folder Image beside its program; a crashed run may have left one.
        const QString beside = QCoreApplication::applicationDirPath() + "/Image/userLogo.png";
        QDir(QFileInfo(beside).path()).removeRecursively();
        RelocatedCustomImg images;
        const QUrl device = QUrl::fromLocalFile(images.folder.filePath("userLogo.png"));
        QCOMPARE(images.getLogoImg(), QUrl());
        QVERIFY(QFile(device.path()).open(QIODevice::WriteOnly));
        QCOMPARE(images.getLogoImg(), device);
        // The copy beside the program wins.
        QVERIFY(QDir().mkpath(QFileInfo(beside).path()) && QFile(beside).open(QIODevice::WriteOnly));
        QCOMPARE(images.getLogoImg(), QUrl::fromLocalFile(beside));
        QVERIFY(images.customImgUrl("").isEmpty()); // not the folder Image itself
        QVERIFY(QDir(QFileInfo(beside).path()).removeRecursively());
    }
};

QTEST_MAIN(TstTheme)
#include "tst_theme.moc"
