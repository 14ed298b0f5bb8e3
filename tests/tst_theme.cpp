// The theme object as QML meets it: its meta-object, starting palette, setter rule and
// skin paths, a document that declares it, and the branding image lookup.
#include <QtQml>
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
    void metaObject()
    {
        const QMetaObject &mo = ThemeObject::staticMetaObject;
        QMap<int, QStringList> names; // properties under -1, methods under their type
        for (int i = mo.propertyOffset(); i < mo.propertyCount(); ++i) {
            names[-1] << mo.property(i).name();
            QCOMPARE(mo.property(i).notifySignal().name(), QByteArray(mo.property(i).name()) + "Changed");
        }
        for (int i = mo.methodOffset(); i < mo.methodCount(); ++i)
            names[mo.method(i).methodType()] << mo.method(i).name();
        const QStringList &props = names[-1], &signalList = names[QMetaMethod::Signal],
                          &slotList = names[QMetaMethod::Slot];
        QCOMPARE((QList<int>{props.size(), signalList.size(), slotList.size()}), (QList<int>{56, 57, 54}));
        QCOMPARE((QStringList{props[0], props[9], props[11], props[36], props[37], props[55]}).join(' '),
                 "resourcePath fgInactived textHoverd linecolor bgTextFiled appName");
        QCOMPARE(
            (QStringList{signalList[1], signalList[9], slotList[39], slotList[40], slotList[53]}).join(' '),
            "skinChanged textHoverdChanged setCheckBoxIndicatorFG setCheckBoxIndicatorBG setAppName");
        QCOMPARE(names[QMetaMethod::Method], QStringList{"resourceFilepath"});
    }

    void newObject()
    {
        ThemeObject theme;
        QStringList colours;
        for (const char *name :
             {"background", "bgTitleBar", "fgError", "heartColor", "bgBtnHoverd", "bgBtn", "fgHighlighted",
              "textHoverd", "bgSearch", "bgText", "checkBoxIndicatorBG", "checkBoxIndicatorBorder"})
            colours << theme.property(name).value<QColor>().name();
        // bgBtnHoverd is the one colour written in capitals; the value is what counts.
        QCOMPARE(colours.join(' '), "#ffffff #18171c #f6422f #c51010 #5cb7d9 #33a5cf #33a5cf #33a5cf "
                                    "#0d0c0f #0d0c0f #0d0c0f #0d0c0f");
        QVERIFY(theme.logoImg().isEmpty() && theme.logoImgIsEmpty());
        QCOMPARE(theme.resourceFilepath(""), "qrc:/images/dark/");
        QSignalSpy empty(&theme, &ThemeObject::logoImgIsEmptyChanged);
        theme.setLogoImgIsEmpty(true); // the one setter heard even when the value stays
        QCOMPARE(QList<QVariantList>(empty), QList<QVariantList>{{true}});
    }

    void setterRule()
    {
        const QVariantMap others{
            {"background", QColor(1, 2, 3)}, {"logoImg", QUrl("file:///logo.png")}, {"appName", "Probix"}};
        for (auto other = others.begin(); other != others.end(); ++other) {
            ThemeObject theme;
            const QMetaProperty property =
                theme.metaObject()->property(theme.metaObject()->indexOfProperty(qPrintable(other.key())));
            QSignalSpy spy(&theme, property.notifySignal());
            // Writing the stored value is silent, so only the first of the two new writes is heard.
            QVERIFY(property.write(&theme, property.read(&theme)));
            QVERIFY(property.write(&theme, *other) && property.write(&theme, *other));
            QCOMPARE(QList<QVariantList>(spy), QList<QVariantList>{{*other}});
        }
    }

    void declaredInQml()
    {
        qmlRegisterType<ThemeObject>("Themes", 1, 0, "Themes");
        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.setData("import QtQuick 2.12\nimport Themes 1.0\nThemes { property color bg: background; "
                          "heartColor: \"navy\" }",
                          {});
        QScopedPointer<QObject> object(component.create());
        QVERIFY2(object, qPrintable(component.errorString()));
        QCOMPARE(object->property("heartColor").value<QColor>(), QColor("navy"));
        qobject_cast<ThemeObject *>(object.data())->setBackground(Qt::red);
        QCOMPARE(object->property("bg").value<QColor>(), QColor(Qt::red));
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
        QVERIFY(QDir().mkpath(QFileInfo(beside).path()) && QFile(beside).open(QIODevice::WriteOnly));
        QCOMPARE(images.getLogoImg(), QUrl::fromLocalFile(beside));
        QVERIFY(QFile::remove(device.path()));
        QCOMPARE(images.getLogoImg(), QUrl::fromLocalFile(beside));
        QVERIFY(images.customImgUrl("").isEmpty());
        QVERIFY(QDir(QFileInfo(beside).path()).removeRecursively());
    }
};

QTEST_MAIN(TstTheme)
#include "tst_theme.moc"
