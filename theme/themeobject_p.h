// Stored values of ThemeObject: the skin, the one palette in the order it is set
// up, and the branding images and application name that QML may write.
#pragma once
#include <QColor>
#include <QString>
#include <QUrl>

#include "themeobject.h"

struct ThemeObjectPrivate {
    ThemeObject::Skin skin = ThemeObject::Dark;
    QColor background;
    QColor bgTitleBar;
    QColor bgNaviBar;
    QColor highlightNavButton;
    QColor highlightNavButtonBG;
    QColor navButtonIcon;
    QColor bgContectView;
    QColor bgPopup;
    QColor bgNotification;
    QColor textColor;
    QColor fgInactived;
    QColor fgHighlighted;
    QColor textHoverd;
    QColor bgListHeader;
    QColor listHeader;
    QColor bgListItem;
    QColor titleSetting;
    QColor textGray;
    QColor fgError;
    QColor btnColor;
    QColor bgBtnDown;
    QColor bgBtnHoverd;
    QColor bgBtn;
    QColor bgBtnDownGray;
    QColor bgBtnHoverdGray;
    QColor bgBtnGray;
    QColor btnColorGray;
    QColor btnGrayBorder;
    QColor bgText;
    QColor dropShadow;
    QColor titleBtnColor;
    QColor userHeader;
    QColor mainWinBorder;
    QColor scrollBarColor;
    QColor heartColor;
    QColor notHeartColor;
    QColor desktopOptColor;
    QColor linecolor;
    QColor bgTextFiled;
    QColor borderTextFiled;
    QColor bgSearch;
    QColor iconColor;
    QColor checkBoxIndicatorBorder;
    QColor checkBoxIndicatorBG;
    QColor checkBoxIndicatorFG;
    QColor checkBoxIndicatorBGChecked;
    QColor settingIntroTextColor;
    QColor desktopItemBG;
    QColor aboutTextColor;
    QUrl backGroundImg;
    QUrl logoImg;
    bool logoImgIsEmpty = true;
    QUrl copyRightImg;
    QString appName;

    void init();
};
