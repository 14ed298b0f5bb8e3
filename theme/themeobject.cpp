#include "themeobject.h"

#include <QMetaEnum>

#include "ccustomimg.h"
#include "themeobject_p.h"

void ThemeObjectPrivate::init()
{
    *this = ThemeObjectPrivate();
    skin = ThemeObject::Dark;

    background.setNamedColor(QStringLiteral("#ffffff"));
    bgTitleBar.setNamedColor(QStringLiteral("#18171c"));
    bgNaviBar.setNamedColor(QStringLiteral("#c4daf6"));
    highlightNavButton.setNamedColor(QStringLiteral("#44a8f8"));
    highlightNavButtonBG.setNamedColor(QStringLiteral("#283647"));
    navButtonIcon.setNamedColor(QStringLiteral("#ffffff"));
    bgContectView.setNamedColor(QStringLiteral("#f2f3f7"));
    bgPopup.setNamedColor(QStringLiteral("#31353e"));
    bgNotification.setNamedColor(QStringLiteral("#000000"));
    textColor.setNamedColor(QStringLiteral("#1b1d23"));
    fgInactived.setNamedColor(QStringLiteral("#999ea2"));
    fgHighlighted.setNamedColor(QStringLiteral("#33a5cf"));
    textHoverd.setNamedColor(QStringLiteral("#33a5cf"));
    bgListHeader.setNamedColor(QStringLiteral("#25262d"));
    listHeader.setNamedColor(QStringLiteral("#1b1d23"));
    bgListItem.setNamedColor(QStringLiteral("#1c1d22"));
    titleSetting.setNamedColor(QStringLiteral("#8b919f"));
    textGray.setNamedColor(QStringLiteral("#8b919f"));
    fgError.setNamedColor(QStringLiteral("#f6422f"));
    btnColor.setNamedColor(QStringLiteral("#ffffff"));
    bgBtnDown.setNamedColor(QStringLiteral("#0062ff"));
    bgBtnHoverd.setNamedColor(QStringLiteral("#5CB7D9"));
    bgBtn.setNamedColor(QStringLiteral("#33a5cf"));
    bgBtnDownGray.setNamedColor(QStringLiteral("#ccedf1"));
    bgBtnHoverdGray.setNamedColor(QStringLiteral("#dcedf1"));
    bgBtnGray.setNamedColor(QStringLiteral("#ecedf1"));
    btnColorGray.setNamedColor(QStringLiteral("#1b1d23"));
    btnGrayBorder.setNamedColor(QStringLiteral("#54676e"));
    bgText.setNamedColor(QStringLiteral("#0d0c0f"));
    dropShadow.setNamedColor(QStringLiteral("#cccccc"));
    titleBtnColor.setNamedColor(QStringLiteral("#595959"));
    userHeader.setNamedColor(QStringLiteral("#999ea2"));
    mainWinBorder.setNamedColor(QStringLiteral("#000000"));
    scrollBarColor.setNamedColor(QStringLiteral("#c9cbd4"));
    heartColor.setNamedColor(QStringLiteral("#c51010"));
    notHeartColor.setNamedColor(QStringLiteral("#8b919f"));
    desktopOptColor.setNamedColor(QStringLiteral("#999ea2"));
    linecolor.setNamedColor(QStringLiteral("#e1e1e2"));
    bgTextFiled.setNamedColor(QStringLiteral("#ffffff"));
    borderTextFiled.setNamedColor(QStringLiteral("#cccccc"));
    bgSearch.setNamedColor(QStringLiteral("#0d0c0f"));
    iconColor.setNamedColor(QStringLiteral("#54676e"));
    checkBoxIndicatorBorder.setNamedColor(QStringLiteral("#0d0c0f"));
    checkBoxIndicatorBG.setNamedColor(QStringLiteral("#0d0c0f"));
    checkBoxIndicatorFG.setNamedColor(QStringLiteral("#ffffff"));
    checkBoxIndicatorBGChecked.setNamedColor(QStringLiteral("#2d7fff"));
    settingIntroTextColor.setNamedColor(QStringLiteral("#747474"));
    desktopItemBG.setNamedColor(QStringLiteral("#31353e"));
    aboutTextColor.setNamedColor(QStringLiteral("#595959"));

    backGroundImg = QUrl(QStringLiteral(""));
    logoImg = QUrl(QStringLiteral(""));
    logoImgIsEmpty = true;
    copyRightImg = QUrl(QStringLiteral(""));
    appName = QString();
}

ThemeObject::ThemeObject(QObject *parent) : QObject(parent), d(new ThemeObjectPrivate)
{
    d->init();
    // Kept on purpose without a parent and never deleted: it lives until the process ends.
    customImg = new CCustomImg(nullptr);

    const QMetaEnum skins = QMetaEnum::fromType<Skin>();
    for (int i = 0; i < skins.keyCount(); ++i)
        skinNames.insert(skins.value(i), QByteArray(skins.key(i)).toLower());
}

ThemeObject::~ThemeObject()
{
    delete d;
}

QString ThemeObject::skinName() const
{
    return QString::fromUtf8(skinNames.value(d->skin));
}

QString ThemeObject::resourcePath() const
{
    return QStringLiteral("qrc:/images/%1/").arg(skinName());
}

QString ThemeObject::resourceFilepath(const QString &image) const
{
    return QStringLiteral("qrc:/images/%1/%2").arg(skinName(), image);
}

template <typename T, typename Signal> void ThemeObject::assign(T &field, const T &value, Signal notify)
{
    if (field == value)
        return;
    field = value;
    emit(this->*notify)(value);
}

// A stored value: its getter, and a setter that stays silent when nothing changes.
#define THEME_VALUE(Type, name, setter)                                                                      \
    Type ThemeObject::name() const                                                                           \
    {                                                                                                        \
        return d->name;                                                                                      \
    }                                                                                                        \
    void ThemeObject::setter(const Type &value)                                                              \
    {                                                                                                        \
        assign(d->name, value, &ThemeObject::name##Changed);                                                 \
    }

THEME_VALUE(QColor, background, setBackground)
THEME_VALUE(QColor, bgTitleBar, setBgTitleBar)
THEME_VALUE(QColor, bgNaviBar, setBgNaviBar)
THEME_VALUE(QColor, bgContectView, setBgContectView)
THEME_VALUE(QColor, bgPopup, setBgPopup)
THEME_VALUE(QColor, bgNotification, setBgNotification)
THEME_VALUE(QColor, textColor, setTextColor)
THEME_VALUE(QColor, fgInactived, setFgInactived)
THEME_VALUE(QColor, fgHighlighted, setFgHighlighted)
THEME_VALUE(QColor, textHoverd, setTextHoverd)
THEME_VALUE(QColor, bgListHeader, setBgListHeader)
THEME_VALUE(QColor, listHeader, setListHeader)
THEME_VALUE(QColor, bgListItem, setBgListItem)
THEME_VALUE(QColor, titleSetting, setTitleSetting)
THEME_VALUE(QColor, textGray, setTextGray)
THEME_VALUE(QColor, fgError, setFgError)
THEME_VALUE(QColor, btnColor, setBtnColor)
THEME_VALUE(QColor, bgBtnDown, setBgBtnDown)
THEME_VALUE(QColor, bgBtnHoverd, setBgBtnHoverd)
THEME_VALUE(QColor, bgBtn, setBgBtn)
THEME_VALUE(QColor, bgBtnDownGray, setBgBtnDownGray)
THEME_VALUE(QColor, bgBtnHoverdGray, setBgBtnHoverdGray)
THEME_VALUE(QColor, bgBtnGray, setBgBtnGray)
THEME_VALUE(QColor, bgText, setBgText)
THEME_VALUE(QColor, dropShadow, setDropShadow)
THEME_VALUE(QColor, titleBtnColor, setTitleBtnColor)
THEME_VALUE(QColor, userHeader, setUserHeader)
THEME_VALUE(QColor, mainWinBorder, setMainWinBorder)
THEME_VALUE(QColor, btnColorGray, setBtnColorGray)
THEME_VALUE(QColor, btnGrayBorder, setBtnGrayBorder)
THEME_VALUE(QColor, scrollBarColor, setScrollBarColor)
THEME_VALUE(QColor, heartColor, setHeartColor)
THEME_VALUE(QColor, notHeartColor, setNotHeartColor)
THEME_VALUE(QColor, desktopOptColor, setDesktopOptColor)
THEME_VALUE(QColor, linecolor, setLinecolor)
THEME_VALUE(QColor, bgTextFiled, setBgTextFiled)
THEME_VALUE(QColor, borderTextFiled, setBorderTextFiled)
THEME_VALUE(QColor, bgSearch, setBgSearch)
THEME_VALUE(QColor, iconColor, setIconColor)
THEME_VALUE(QColor, checkBoxIndicatorBG, setCheckBoxIndicatorBG)
THEME_VALUE(QColor, checkBoxIndicatorFG, setCheckBoxIndicatorFG)
THEME_VALUE(QColor, checkBoxIndicatorBorder, setCheckBoxIndicatorBorder)
THEME_VALUE(QColor, settingIntroTextColor, setSettingIntroTextColor)
THEME_VALUE(QColor, checkBoxIndicatorBGChecked, setCheckBoxIndicatorBGChecked)
THEME_VALUE(QColor, highlightNavButton, setHighlightNavButton)
THEME_VALUE(QColor, highlightNavButtonBG, setHighlightNavButtonBG)
THEME_VALUE(QColor, navButtonIcon, setNavButtonIcon)
THEME_VALUE(QColor, desktopItemBG, setDesktopItemBG)
THEME_VALUE(QColor, aboutTextColor, setAboutTextColor)
THEME_VALUE(QUrl, backGroundImg, setBackGroundImg)
THEME_VALUE(QUrl, logoImg, setLogoImg)
THEME_VALUE(QUrl, copyRightImg, setCopyRightImg)
THEME_VALUE(QString, appName, setAppName)
#undef THEME_VALUE

bool ThemeObject::logoImgIsEmpty() const
{
    return d->logoImgIsEmpty;
}

void ThemeObject::setLogoImgIsEmpty(bool stutas)
{
    // Kept on purpose: QML may rely on hearing this even when nothing changed.
    d->logoImgIsEmpty = stutas;
    emit logoImgIsEmptyChanged(stutas);
}
