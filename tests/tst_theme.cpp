// The theme object as QML meets it: its meta-object, starting palette, setter rule and
// skin paths, a document that declares it, and the branding image lookup.
#include <QDir>
#include <QFile>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtQml>
#include <QtTest>

#include "ccustomimg.h"
#include "themeobject.h"

namespace
{

QStringList entries(const char *text)
{
    return QString(text).split(", ");
}

// Type and name of each property, in declaration order.
const QStringList properties = entries(
    "QString resourcePath, QString skinName, QColor background, QColor bgTitleBar, QColor bgNaviBar, "
    "QColor bgContectView, QColor bgPopup, QColor bgNotification, QColor textColor, "
    "QColor fgInactived, QColor fgHighlighted, QColor textHoverd, QColor bgListHeader, "
    "QColor listHeader, QColor bgListItem, QColor titleSetting, QColor textGray, QColor fgError, "
    "QColor btnColor, QColor bgBtnDown, QColor bgBtnHoverd, QColor bgBtn, QColor bgBtnDownGray, "
    "QColor bgBtnHoverdGray, QColor bgBtnGray, QColor bgText, QColor dropShadow, "
    "QColor titleBtnColor, QColor userHeader, QColor mainWinBorder, QColor btnColorGray, "
    "QColor btnGrayBorder, QColor scrollBarColor, QColor heartColor, QColor notHeartColor, "
    "QColor desktopOptColor, QColor linecolor, QColor bgTextFiled, QColor borderTextFiled, "
    "QColor bgSearch, QColor iconColor, QColor checkBoxIndicatorBG, QColor checkBoxIndicatorFG, "
    "QColor checkBoxIndicatorBorder, QColor settingIntroTextColor, QColor checkBoxIndicatorBGChecked, "
    "QColor highlightNavButton, QColor highlightNavButtonBG, QColor navButtonIcon, "
    "QColor desktopItemBG, QColor aboutTextColor, QUrl backGroundImg, QUrl logoImg, "
    "bool logoImgIsEmpty, QUrl copyRightImg, QString appName");
const QStringList signalNames = entries(
    "resourcePathChanged, skinChanged, skinNameChanged, backgroundChanged, bgTitleBarChanged, "
    "bgNaviBarChanged, bgContectViewChanged, bgPopupChanged, bgNotificationChanged, "
    "textHoverdChanged, listHeaderChanged, titleSettingChanged, textGrayChanged, btnColorChanged, "
    "bgBtnDownChanged, bgBtnHoverdChanged, bgBtnChanged, bgBtnDownGrayChanged, "
    "bgBtnHoverdGrayChanged, bgBtnGrayChanged, bgTextChanged, bgListHeaderChanged, bgListItemChanged, "
    "textColorChanged, fgInactivedChanged, fgErrorChanged, dropShadowChanged, fgHighlightedChanged, "
    "titleBtnColorChanged, userHeaderChanged, mainWinBorderChanged, btnColorGrayChanged, "
    "btnGrayBorderChanged, scrollBarColorChanged, heartColorChanged, notHeartColorChanged, "
    "desktopOptColorChanged, linecolorChanged, bgTextFiledChanged, borderTextFiledChanged, "
    "bgSearchChanged, iconColorChanged, checkBoxIndicatorBGChanged, checkBoxIndicatorFGChanged, "
    "checkBoxIndicatorBorderChanged, settingIntroTextColorChanged, checkBoxIndicatorBGCheckedChanged, "
    "highlightNavButtonChanged, highlightNavButtonBGChanged, navButtonIconChanged, "
    "desktopItemBGChanged, aboutTextColorChanged, backGroundImgChanged, logoImgChanged, "
    "logoImgIsEmptyChanged, copyRightImgChanged, appNameChanged");
const QStringList slotNames =
    entries("setBackground, setBgTitleBar, setBgNaviBar, setBgContectView, setBgPopup, setBgNotification, "
            "setTextHoverd, setListHeader, setTitleSetting, setTextGray, setBtnColor, setBgBtnDown, "
            "setBgBtnHoverd, setBgBtn, setBgBtnDownGray, setBgBtnHoverdGray, setBgBtnGray, setBgText, "
            "setBgListHeader, setBgListItem, setTextColor, setFgInactived, setFgHighlighted, setFgError, "
            "setDropShadow, setTitleBtnColor, setUserHeader, setMainWinBorder, setBtnColorGray, "
            "setBtnGrayBorder, setScrollBarColor, setHeartColor, setNotHeartColor, setDesktopOptColor, "
            "setLinecolor, setBgTextFiled, setBorderTextFiled, setBgSearch, setIconColor, "
            "setCheckBoxIndicatorFG, setCheckBoxIndicatorBG, setCheckBoxIndicatorBorder, "
            "setSettingIntroTextColor, setCheckBoxIndicatorBGChecked, setHighlightNavButton, "
            "setHighlightNavButtonBG, setNavButtonIcon, setDesktopItemBG, setAboutTextColor, "
            "setBackGroundImg, setLogoImg, setLogoImgIsEmpty, setCopyRightImg, setAppName");
// The starting colours, in the order they are set up.
const QStringList palette =
    entries("background #ffffff, bgTitleBar #18171c, bgNaviBar #c4daf6, highlightNavButton #44a8f8, "
            "highlightNavButtonBG #283647, navButtonIcon #ffffff, bgContectView #f2f3f7, bgPopup #31353e, "
            "bgNotification #000000, textColor #1b1d23, fgInactived #999ea2, fgHighlighted #33a5cf, "
            "textHoverd #33a5cf, bgListHeader #25262d, listHeader #1b1d23, bgListItem #1c1d22, "
            "titleSetting #8b919f, textGray #8b919f, fgError #f6422f, btnColor #ffffff, bgBtnDown #0062ff, "
            "bgBtnHoverd #5CB7D9, bgBtn #33a5cf, bgBtnDownGray #ccedf1, bgBtnHoverdGray #dcedf1, "
            "bgBtnGray #ecedf1, btnColorGray #1b1d23, btnGrayBorder #54676e, bgText #0d0c0f, "
            "dropShadow #cccccc, titleBtnColor #595959, userHeader #999ea2, mainWinBorder #000000, "
            "scrollBarColor #c9cbd4, heartColor #c51010, notHeartColor #8b919f, desktopOptColor #999ea2, "
            "linecolor #e1e1e2, bgTextFiled #ffffff, borderTextFiled #cccccc, bgSearch #0d0c0f, "
            "iconColor #54676e, checkBoxIndicatorBorder #0d0c0f, checkBoxIndicatorBG #0d0c0f, "
            "checkBoxIndicatorFG #ffffff, checkBoxIndicatorBGChecked #2d7fff, settingIntroTextColor #747474, "
            "desktopItemBG #31353e, aboutTextColor #595959");

// Points the device-wide folder into a temporary folder, so no test goes near /userdata.
class RelocatedCustomImg : public CCustomImg
{
public:
    explicit RelocatedCustomImg(const QString &folder) : folder(folder) {}

protected:
    QString customResourcePattern() const override { return folder + "/%1"; }

private:
    QString folder;
};

QList<QMetaMethod> ownMethods(QMetaMethod::MethodType type)
{
    const QMetaObject &mo = ThemeObject::staticMetaObject;
    QList<QMetaMethod> methods;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i)
        if (mo.method(i).methodType() == type)
            methods << mo.method(i);
    return methods;
}

QVariantList propertyValues(const QObject &object)
{
    QVariantList values;
    const QMetaObject *mo = object.metaObject();
    for (int i = mo->propertyOffset(); i < mo->propertyCount(); ++i)
        values << mo->property(i).read(&object);
    return values;
}

QVariant otherValue(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QColor:
        return QColor(1, 2, 3);
    case QMetaType::QUrl:
        return QUrl("file:///opt/brand/logo.png");
    case QMetaType::QString:
        return QString("Probix");
    }
    return QVariant();
}

bool touch(const QString &path)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly);
}

} // namespace

class TstTheme : public QObject
{
    Q_OBJECT

private:
    QString besideDir() const { return QCoreApplication::applicationDirPath() + "/Image"; }

private slots:
    void initTestCase()
    {
        // Only this test puts a folder Image beside its program; a crashed run may have left one.
        QDir(besideDir()).removeRecursively();
        qmlRegisterType<ThemeObject>("Themes", 1, 0, "Themes");
    }
    void cleanup() { QDir(besideDir()).removeRecursively(); }

    void metaObjectProperties()
    {
        const QMetaObject &mo = ThemeObject::staticMetaObject;
        QCOMPARE(mo.className(), "ThemeObject");
        QStringList seen;
        for (int i = mo.propertyOffset(); i < mo.propertyCount(); ++i) {
            const QMetaProperty p = mo.property(i);
            seen << QString("%1 %2").arg(p.typeName(), p.name());
            QCOMPARE(p.notifySignal().name(), QByteArray(p.name()) + "Changed");
            QCOMPARE(p.isWritable(), i - mo.propertyOffset() >= 2);
            QVERIFY(p.isDesignable() && p.isScriptable() && p.isStored());
        }
        QCOMPARE(seen, properties);
    }

    void metaObjectMethods()
    {
        const QMetaObject &mo = ThemeObject::staticMetaObject;
        auto typeOf = [&mo](const QByteArray &property) {
            return QByteArray(mo.property(mo.indexOfProperty(property)).typeName());
        };
        QStringList seen;
        for (const QMetaMethod &m : ownMethods(QMetaMethod::Signal)) {
            seen << m.name();
            const QByteArray property = m.name().chopped(int(strlen("Changed")));
            QCOMPARE(m.parameterTypes(), {property == "skin" ? QByteArray("Skin") : typeOf(property)});
        }
        QCOMPARE(seen, signalNames);

        seen.clear();
        for (const QMetaMethod &m : ownMethods(QMetaMethod::Slot)) {
            seen << m.name();
            QByteArray property = m.name().mid(3);
            property[0] = char(QChar::toLower(property[0]));
            QCOMPARE(m.parameterTypes(), {typeOf(property)});
        }
        QCOMPARE(seen, slotNames);

        const QList<QMetaMethod> invokables = ownMethods(QMetaMethod::Method);
        QCOMPARE(invokables.size(), 1);
        QCOMPARE(invokables[0].methodSignature(), "resourceFilepath(QString)");
        QCOMPARE(invokables[0].typeName(), "QString");
        QVERIFY(invokables[0].methodIndex() > ownMethods(QMetaMethod::Slot).last().methodIndex());

        const QMetaEnum skin = QMetaEnum::fromType<ThemeObject::Skin>();
        QCOMPARE(skin.keyCount(), 3);
        QCOMPARE(skin.valueToKeys(0), "Dark");
        QCOMPARE(skin.valueToKeys(1), "Light");
        QCOMPARE(skin.valueToKeys(2), "Warm");
    }

    void defaultColour_data()
    {
        QTest::addColumn<QString>("colour");
        for (const QString &entry : palette)
            QTest::newRow(qPrintable(entry.section(' ', 0, 0))) << entry.section(' ', 1);
    }
    void defaultColour()
    {
        QFETCH(QString, colour);
        ThemeObject theme;
        const QColor value = theme.property(QTest::currentDataTag()).value<QColor>();
        QCOMPARE(value, QColor(colour));
        QCOMPARE(value.alpha(), 255);
    }

    void defaultsBesideColours()
    {
        ThemeObject theme;
        QCOMPARE(properties.filter(QRegularExpression("^QColor ")).size(), palette.size());
        QVERIFY(theme.backGroundImg().isEmpty() && theme.logoImg().isEmpty() &&
                theme.copyRightImg().isEmpty());
        QVERIFY(theme.logoImgIsEmpty());
        QVERIFY(theme.appName().isEmpty());
        QVERIFY(theme.findChildren<CCustomImg *>().isEmpty());
    }

    void skinPaths()
    {
        ThemeObject theme;
        QCOMPARE(theme.skinName(), "dark");
        QCOMPARE(theme.resourcePath(), "qrc:/images/dark/");
        QCOMPARE(theme.resourceFilepath(""), "qrc:/images/dark/");
        QCOMPARE(theme.resourceFilepath("logo.png"), "qrc:/images/dark/logo.png");
    }

    // Every setter but one: silent when the value is already stored, else stores it,
    // announces it once and leaves every other property as it was.
    void setterRule_data()
    {
        QTest::addColumn<int>("index");
        for (const QMetaMethod &m : ownMethods(QMetaMethod::Slot))
            if (m.name() != "setLogoImgIsEmpty")
                QTest::newRow(m.name().constData()) << m.methodIndex();
    }
    void setterRule()
    {
        QFETCH(int, index);
        const QMetaMethod setter = ThemeObject::staticMetaObject.method(index);
        QByteArray name = setter.name().mid(3);
        name[0] = char(QChar::toLower(name[0]));
        ThemeObject theme;
        const QMetaProperty property =
            theme.metaObject()->property(theme.metaObject()->indexOfProperty(name));
        const QVariantList before = propertyValues(theme);
        QSignalSpy spy(&theme, property.notifySignal());

        const QVariant same = property.read(&theme);
        QVERIFY(
            setter.invoke(&theme, Qt::DirectConnection, QGenericArgument(same.typeName(), same.constData())));
        QCOMPARE(spy.count(), 0);

        const QVariant other = otherValue(same);
        QVERIFY(setter.invoke(&theme, Qt::DirectConnection,
                              QGenericArgument(other.typeName(), other.constData())));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy[0][0], other);
        QCOMPARE(property.read(&theme), other);

        QVariantList after = propertyValues(theme);
        after[property.propertyIndex() - theme.metaObject()->propertyOffset()] = same;
        QCOMPARE(after, before);
    }

    void setterRuleEdges()
    {
        ThemeObject theme;
        QSignalSpy appName(&theme, &ThemeObject::appNameChanged);
        theme.setAppName(QStringLiteral(""));
        QCOMPARE(appName.count(), 0);

        // The one setter that announces even an unchanged value.
        QSignalSpy empty(&theme, &ThemeObject::logoImgIsEmptyChanged);
        theme.setLogoImgIsEmpty(true);
        theme.setLogoImgIsEmpty(true);
        QCOMPARE(empty.count(), 2);
        QCOMPARE(empty[0][0], true);
        theme.setLogoImgIsEmpty(false);
        QCOMPARE(empty.count(), 3);
        QVERIFY(!theme.logoImgIsEmpty());
    }

    void declaredInQml()
    {
        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.setData("import QtQuick 2.12\n"
                          "import Themes 1.0\n"
                          "Themes {\n"
                          "    property color seenBackground: background\n"
                          "    property string seenPath: resourcePath\n"
                          "    property url seenLogo: resourceFilepath(\"logo.png\")\n"
                          "    property int emptyHeard: 0\n"
                          "    heartColor: \"#010203\"\n"
                          "    onLogoImgIsEmptyChanged: emptyHeard += 1\n"
                          "    Component.onCompleted: { appName = \"Probix\"; logoImgIsEmpty = true }\n"
                          "}\n",
                          QUrl());
        QScopedPointer<QObject> object(component.create());
        QVERIFY2(object, qPrintable(component.errorString()));
        auto *theme = qobject_cast<ThemeObject *>(object.data());
        QVERIFY(theme);

        QCOMPARE(object->property("seenBackground").value<QColor>(), QColor("#ffffff"));
        QCOMPARE(object->property("seenPath").toString(), "qrc:/images/dark/");
        QCOMPARE(object->property("seenLogo").toUrl(), QUrl("qrc:/images/dark/logo.png"));
        QCOMPARE(theme->heartColor(), QColor("#010203"));
        QCOMPARE(theme->appName(), "Probix");
        QCOMPARE(object->property("emptyHeard").toInt(), 1);

        theme->setBackground(Qt::red);
        QCOMPARE(object->property("seenBackground").value<QColor>(), QColor(Qt::red));
    }

    void imageLookup_data()
    {
        QTest::addColumn<bool>("beside");
        QTest::addColumn<bool>("device");
        QTest::addColumn<QString>("winner");
        QTest::newRow("beside only") << true << false << "beside";
        QTest::newRow("device only") << false << true << "device";
        QTest::newRow("both") << true << true << "beside";
        QTest::newRow("neither") << false << false << "";
    }
    void imageLookup()
    {
        QFETCH(bool, beside);
        QFETCH(bool, device);
        QFETCH(QString, winner);
        QTemporaryDir deviceDir;
        QVERIFY(deviceDir.isValid());
        const QString besidePath = besideDir() + "/userLogo.png";
        const QString devicePath = deviceDir.path() + "/userLogo.png";
        QVERIFY(!beside || touch(besidePath));
        QVERIFY(!device || touch(devicePath));

        RelocatedCustomImg images(deviceDir.path());
        const QUrl url = images.getLogoImg();
        if (winner.isEmpty())
            QVERIFY(url.isEmpty());
        else
            QCOMPARE(url, QUrl::fromLocalFile(winner == "beside" ? besidePath : devicePath));
        QCOMPARE(images.customImgUrl("userLogo.png"), url);
        QVERIFY(images.customImgUrl("").isEmpty());
    }

    void imageLookupEdges()
    {
        QTemporaryDir deviceDir;
        QVERIFY(deviceDir.isValid());
        RelocatedCustomImg images(deviceDir.path());
        for (const char *name : {"userBackground.png", "userCopyRight.png"})
            QVERIFY(touch(deviceDir.path() + "/" + name));
        QCOMPARE(images.getBackGroundImg(), QUrl::fromLocalFile(deviceDir.path() + "/userBackground.png"));
        QCOMPARE(images.getCopyRightImg(), QUrl::fromLocalFile(deviceDir.path() + "/userCopyRight.png"));

        // Existence alone counts: a folder by the image's name is taken as the image.
        QVERIFY(QDir().mkpath(besideDir() + "/userLogo.png"));
        QCOMPARE(images.getLogoImg(), QUrl::fromLocalFile(besideDir() + "/userLogo.png"));
        QVERIFY(images.customImgUrl("").isEmpty());

        QVERIFY(images.imgUrlFromPath("").isEmpty());
        QCOMPARE(images.imgUrlFromPath("qrc:/images/dark/logo.png").scheme(), "qrc");
        QCOMPARE(images.imgUrlFromPath("/opt/brand/logo 1.png").path(), "/opt/brand/logo 1.png");
    }
};

QTEST_MAIN(TstTheme)
#include "tst_theme.moc"
