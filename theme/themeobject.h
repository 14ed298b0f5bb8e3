// The colours, skin image paths, branding images and application name that QML
// reaches through the type "Themes". One palette serves every skin; the skin only
// chooses the folder of the image paths.
#pragma once
#include <QByteArray>
#include <QColor>
#include <QHash>
#include <QObject>
#include <QString>
#include <QUrl>

class CCustomImg;
struct ThemeObjectPrivate;

class ThemeObject : public QObject
{
    Q_OBJECT

public:
    enum Skin { Dark, Light, Warm };
    Q_ENUM(Skin)

    explicit ThemeObject(QObject *parent = nullptr);
    ~ThemeObject() override;

    // QML binds to these names as written, odd spellings included.
    Q_PROPERTY(QString resourcePath READ resourcePath NOTIFY resourcePathChanged)
    QString resourcePath() const;
    Q_PROPERTY(QString skinName READ skinName NOTIFY skinNameChanged)
    QString skinName() const;
    Q_PROPERTY(QColor background READ background WRITE setBackground NOTIFY backgroundChanged)
    QColor background() const;
    Q_PROPERTY(QColor bgTitleBar READ bgTitleBar WRITE setBgTitleBar NOTIFY bgTitleBarChanged)
    QColor bgTitleBar() const;
    Q_PROPERTY(QColor bgNaviBar READ bgNaviBar WRITE setBgNaviBar NOTIFY bgNaviBarChanged)
    QColor bgNaviBar() const;
    Q_PROPERTY(QColor bgContectView READ bgContectView WRITE setBgContectView NOTIFY bgContectViewChanged)
    QColor bgContectView() const;
    Q_PROPERTY(QColor bgPopup READ bgPopup WRITE setBgPopup NOTIFY bgPopupChanged)
    QColor bgPopup() const;
    Q_PROPERTY(QColor bgNotification READ bgNotification WRITE setBgNotification NOTIFY bgNotificationChanged)
    QColor bgNotification() const;
    Q_PROPERTY(QColor textColor READ textColor WRITE setTextColor NOTIFY textColorChanged)
    QColor textColor() const;
    Q_PROPERTY(QColor fgInactived READ fgInactived WRITE setFgInactived NOTIFY fgInactivedChanged)
    QColor fgInactived() const;
    Q_PROPERTY(QColor fgHighlighted READ fgHighlighted WRITE setFgHighlighted NOTIFY fgHighlightedChanged)
    QColor fgHighlighted() const;
    Q_PROPERTY(QColor textHoverd READ textHoverd WRITE setTextHoverd NOTIFY textHoverdChanged)
    QColor textHoverd() const;
    Q_PROPERTY(QColor bgListHeader READ bgListHeader WRITE setBgListHeader NOTIFY bgListHeaderChanged)
    QColor bgListHeader() const;
    Q_PROPERTY(QColor listHeader READ listHeader WRITE setListHeader NOTIFY listHeaderChanged)
    QColor listHeader() const;
    Q_PROPERTY(QColor bgListItem READ bgListItem WRITE setBgListItem NOTIFY bgListItemChanged)
    QColor bgListItem() const;
    Q_PROPERTY(QColor titleSetting READ titleSetting WRITE setTitleSetting NOTIFY titleSettingChanged)
    QColor titleSetting() const;
    Q_PROPERTY(QColor textGray READ textGray WRITE setTextGray NOTIFY textGrayChanged)
    QColor textGray() const;
    Q_PROPERTY(QColor fgError READ fgError WRITE setFgError NOTIFY fgErrorChanged)
    QColor fgError() const;
    Q_PROPERTY(QColor btnColor READ btnColor WRITE setBtnColor NOTIFY btnColorChanged)
    QColor btnColor() const;
    Q_PROPERTY(QColor bgBtnDown READ bgBtnDown WRITE setBgBtnDown NOTIFY bgBtnDownChanged)
    QColor bgBtnDown() const;
    Q_PROPERTY(QColor bgBtnHoverd READ bgBtnHoverd WRITE setBgBtnHoverd NOTIFY bgBtnHoverdChanged)
    QColor bgBtnHoverd() const;
    Q_PROPERTY(QColor bgBtn READ bgBtn WRITE setBgBtn NOTIFY bgBtnChanged)
    QColor bgBtn() const;
    Q_PROPERTY(QColor bgBtnDownGray READ bgBtnDownGray WRITE setBgBtnDownGray NOTIFY bgBtnDownGrayChanged)
    QColor bgBtnDownGray() const;
    Q_PROPERTY(
        QColor bgBtnHoverdGray READ bgBtnHoverdGray WRITE setBgBtnHoverdGray NOTIFY bgBtnHoverdGrayChanged)
    QColor bgBtnHoverdGray() const;
    Q_PROPERTY(QColor bgBtnGray READ bgBtnGray WRITE setBgBtnGray NOTIFY bgBtnGrayChanged)
    QColor bgBtnGray() const;
    Q_PROPERTY(QColor bgText READ bgText WRITE setBgText NOTIFY bgTextChanged)
    QColor bgText() const;
    Q_PROPERTY(QColor dropShadow READ dropShadow WRITE setDropShadow NOTIFY dropShadowChanged)
    QColor dropShadow() const;
    Q_PROPERTY(QColor titleBtnColor READ titleBtnColor WRITE setTitleBtnColor NOTIFY titleBtnColorChanged)
    QColor titleBtnColor() const;
    Q_PROPERTY(QColor userHeader READ userHeader WRITE setUserHeader NOTIFY userHeaderChanged)
    QColor userHeader() const;
    Q_PROPERTY(QColor mainWinBorder READ mainWinBorder WRITE setMainWinBorder NOTIFY mainWinBorderChanged)
    QColor mainWinBorder() const;
    Q_PROPERTY(QColor btnColorGray READ btnColorGray WRITE setBtnColorGray NOTIFY btnColorGrayChanged)
    QColor btnColorGray() const;
    Q_PROPERTY(QColor btnGrayBorder READ btnGrayBorder WRITE setBtnGrayBorder NOTIFY btnGrayBorderChanged)
    QColor btnGrayBorder() const;
    Q_PROPERTY(QColor scrollBarColor READ scrollBarColor WRITE setScrollBarColor NOTIFY scrollBarColorChanged)
    QColor scrollBarColor() const;
    Q_PROPERTY(QColor heartColor READ heartColor WRITE setHeartColor NOTIFY heartColorChanged)
    QColor heartColor() const;
    Q_PROPERTY(QColor notHeartColor READ notHeartColor WRITE setNotHeartColor NOTIFY notHeartColorChanged)
    QColor notHeartColor() const;
    Q_PROPERTY(
        QColor desktopOptColor READ desktopOptColor WRITE setDesktopOptColor NOTIFY desktopOptColorChanged)
    QColor desktopOptColor() const;
    Q_PROPERTY(QColor linecolor READ linecolor WRITE setLinecolor NOTIFY linecolorChanged)
    QColor linecolor() const;
    Q_PROPERTY(QColor bgTextFiled READ bgTextFiled WRITE setBgTextFiled NOTIFY bgTextFiledChanged)
    QColor bgTextFiled() const;
    Q_PROPERTY(
        QColor borderTextFiled READ borderTextFiled WRITE setBorderTextFiled NOTIFY borderTextFiledChanged)
    QColor borderTextFiled() const;
    Q_PROPERTY(QColor bgSearch READ bgSearch WRITE setBgSearch NOTIFY bgSearchChanged)
    QColor bgSearch() const;
    Q_PROPERTY(QColor iconColor READ iconColor WRITE setIconColor NOTIFY iconColorChanged)
    QColor iconColor() const;
    Q_PROPERTY(QColor checkBoxIndicatorBG READ checkBoxIndicatorBG WRITE setCheckBoxIndicatorBG NOTIFY
                   checkBoxIndicatorBGChanged)
    QColor checkBoxIndicatorBG() const;
    Q_PROPERTY(QColor checkBoxIndicatorFG READ checkBoxIndicatorFG WRITE setCheckBoxIndicatorFG NOTIFY
                   checkBoxIndicatorFGChanged)
    QColor checkBoxIndicatorFG() const;
    Q_PROPERTY(QColor checkBoxIndicatorBorder READ checkBoxIndicatorBorder WRITE setCheckBoxIndicatorBorder
                   NOTIFY checkBoxIndicatorBorderChanged)
    QColor checkBoxIndicatorBorder() const;
    Q_PROPERTY(QColor settingIntroTextColor READ settingIntroTextColor WRITE setSettingIntroTextColor NOTIFY
                   settingIntroTextColorChanged)
    QColor settingIntroTextColor() const;
    Q_PROPERTY(QColor checkBoxIndicatorBGChecked READ checkBoxIndicatorBGChecked WRITE
                   setCheckBoxIndicatorBGChecked NOTIFY checkBoxIndicatorBGCheckedChanged)
    QColor checkBoxIndicatorBGChecked() const;
    Q_PROPERTY(QColor highlightNavButton READ highlightNavButton WRITE setHighlightNavButton NOTIFY
                   highlightNavButtonChanged)
    QColor highlightNavButton() const;
    Q_PROPERTY(QColor highlightNavButtonBG READ highlightNavButtonBG WRITE setHighlightNavButtonBG NOTIFY
                   highlightNavButtonBGChanged)
    QColor highlightNavButtonBG() const;
    Q_PROPERTY(QColor navButtonIcon READ navButtonIcon WRITE setNavButtonIcon NOTIFY navButtonIconChanged)
    QColor navButtonIcon() const;
    Q_PROPERTY(QColor desktopItemBG READ desktopItemBG WRITE setDesktopItemBG NOTIFY desktopItemBGChanged)
    QColor desktopItemBG() const;
    Q_PROPERTY(QColor aboutTextColor READ aboutTextColor WRITE setAboutTextColor NOTIFY aboutTextColorChanged)
    QColor aboutTextColor() const;
    Q_PROPERTY(QUrl backGroundImg READ backGroundImg WRITE setBackGroundImg NOTIFY backGroundImgChanged)
    QUrl backGroundImg() const;
    Q_PROPERTY(QUrl logoImg READ logoImg WRITE setLogoImg NOTIFY logoImgChanged)
    QUrl logoImg() const;
    Q_PROPERTY(bool logoImgIsEmpty READ logoImgIsEmpty WRITE setLogoImgIsEmpty NOTIFY logoImgIsEmptyChanged)
    bool logoImgIsEmpty() const;
    Q_PROPERTY(QUrl copyRightImg READ copyRightImg WRITE setCopyRightImg NOTIFY copyRightImgChanged)
    QUrl copyRightImg() const;
    Q_PROPERTY(QString appName READ appName WRITE setAppName NOTIFY appNameChanged)
    QString appName() const;

    Q_INVOKABLE QString resourceFilepath(const QString &image) const;

signals:
    void resourcePathChanged(const QString &resourcePath);
    void skinChanged(Skin skin);
    void skinNameChanged(const QString &skinName);
    void backgroundChanged(const QColor &background);
    void bgTitleBarChanged(const QColor &bgTitleBar);
    void bgNaviBarChanged(const QColor &bgNaviBar);
    void bgContectViewChanged(const QColor &bgContectView);
    void bgPopupChanged(const QColor &bgPopup);
    void bgNotificationChanged(const QColor &bgNotification);
    void textHoverdChanged(const QColor &textHoverd);
    void listHeaderChanged(const QColor &listHeader);
    void titleSettingChanged(const QColor &titleSetting);
    void textGrayChanged(const QColor &textGray);
    void btnColorChanged(const QColor &btnColor);
    void bgBtnDownChanged(const QColor &bgBtnDown);
    void bgBtnHoverdChanged(const QColor &bgBtnHoverd);
    void bgBtnChanged(const QColor &bgBtn);
    void bgBtnDownGrayChanged(const QColor &bgBtnDownGray);
    void bgBtnHoverdGrayChanged(const QColor &bgBtnHoverdGray);
    void bgBtnGrayChanged(const QColor &bgBtnGray);
    void bgTextChanged(const QColor &bgText);
    void bgListHeaderChanged(const QColor &bgListHeader);
    void bgListItemChanged(const QColor &bgListItem);
    void textColorChanged(const QColor &textColor);
    void fgInactivedChanged(const QColor &fgInactived);
    void fgErrorChanged(const QColor &fgError);
    void dropShadowChanged(const QColor &dropShadow);
    void fgHighlightedChanged(const QColor &fgHighlighted);
    void titleBtnColorChanged(const QColor &titleBtnColor);
    void userHeaderChanged(const QColor &userHeader);
    void mainWinBorderChanged(const QColor &mainWinBorder);
    void btnColorGrayChanged(const QColor &btnColorGray);
    void btnGrayBorderChanged(const QColor &btnGrayBorder);
    void scrollBarColorChanged(const QColor &scrollBarColor);
    void heartColorChanged(const QColor &heartColor);
    void notHeartColorChanged(const QColor &notHeartColor);
    void desktopOptColorChanged(const QColor &desktopOptColor);
    void linecolorChanged(const QColor &linecolor);
    void bgTextFiledChanged(const QColor &bgTextFiled);
    void borderTextFiledChanged(const QColor &borderTextFiled);
    void bgSearchChanged(const QColor &bgSearch);
    void iconColorChanged(const QColor &iconColor);
    void checkBoxIndicatorBGChanged(const QColor &checkBoxIndicatorBG);
    void checkBoxIndicatorFGChanged(const QColor &checkBoxIndicatorFG);
    void checkBoxIndicatorBorderChanged(const QColor &checkBoxIndicatorBorder);
    void settingIntroTextColorChanged(const QColor &settingIntroTextColor);
    void checkBoxIndicatorBGCheckedChanged(const QColor &checkBoxIndicatorBGChecked);
    void highlightNavButtonChanged(const QColor &highlightNavButton);
    void highlightNavButtonBGChanged(const QColor &highlightNavButtonBG);
    void navButtonIconChanged(const QColor &navButtonIcon);
    void desktopItemBGChanged(const QColor &desktopItemBG);
    void aboutTextColorChanged(const QColor &aboutTextColor);
    void backGroundImgChanged(const QUrl &backGroundImg);
    void logoImgChanged(const QUrl &logoImg);
    void logoImgIsEmptyChanged(bool logoImgIsEmpty);
    void copyRightImgChanged(const QUrl &copyRightImg);
    void appNameChanged(const QString &appName);

public slots:
    void setBackground(const QColor &background);
    void setBgTitleBar(const QColor &bgTitleBar);
    void setBgNaviBar(const QColor &bgNaviBar);
    void setBgContectView(const QColor &bgContectView);
    void setBgPopup(const QColor &bgPopup);
    void setBgNotification(const QColor &bgNotification);
    void setTextHoverd(const QColor &textHoverd);
    void setListHeader(const QColor &listHeader);
    void setTitleSetting(const QColor &titleSetting);
    void setTextGray(const QColor &textGray);
    void setBtnColor(const QColor &btnColor);
    void setBgBtnDown(const QColor &bgBtnDown);
    void setBgBtnHoverd(const QColor &bgBtnHoverd);
    void setBgBtn(const QColor &bgBtn);
    void setBgBtnDownGray(const QColor &bgBtnDownGray);
    void setBgBtnHoverdGray(const QColor &bgBtnHoverdGray);
    void setBgBtnGray(const QColor &bgBtnGray);
    void setBgText(const QColor &bgText);
    void setBgListHeader(const QColor &bgListHeader);
    void setBgListItem(const QColor &bgListItem);
    void setTextColor(const QColor &textColor);
    void setFgInactived(const QColor &fgInactived);
    void setFgHighlighted(const QColor &fgHighlighted);
    void setFgError(const QColor &fgError);
    void setDropShadow(const QColor &dropShadow);
    void setTitleBtnColor(const QColor &titleBtnColor);
    void setUserHeader(const QColor &userHeader);
    void setMainWinBorder(const QColor &mainWinBorder);
    void setBtnColorGray(const QColor &btnColorGray);
    void setBtnGrayBorder(const QColor &btnGrayBorder);
    void setScrollBarColor(const QColor &scrollBarColor);
    void setHeartColor(const QColor &heartColor);
    void setNotHeartColor(const QColor &notHeartColor);
    void setDesktopOptColor(const QColor &desktopOptColor);
    void setLinecolor(const QColor &linecolor);
    void setBgTextFiled(const QColor &bgTextFiled);
    void setBorderTextFiled(const QColor &borderTextFiled);
    void setBgSearch(const QColor &bgSearch);
    void setIconColor(const QColor &iconColor);
    void setCheckBoxIndicatorFG(const QColor &checkBoxIndicatorFG);
    void setCheckBoxIndicatorBG(const QColor &checkBoxIndicatorBG);
    void setCheckBoxIndicatorBorder(const QColor &checkBoxIndicatorBorder);
    void setSettingIntroTextColor(const QColor &settingIntroTextColor);
    void setCheckBoxIndicatorBGChecked(const QColor &checkBoxIndicatorBGChecked);
    void setHighlightNavButton(const QColor &highlightNavButton);
    void setHighlightNavButtonBG(const QColor &highlightNavButtonBG);
    void setNavButtonIcon(const QColor &navButtonIcon);
    void setDesktopItemBG(const QColor &desktopItemBG);
    void setAboutTextColor(const QColor &aboutTextColor);
    void setBackGroundImg(const QUrl &backGroundImg);
    void setLogoImg(const QUrl &logoImg);
    void setLogoImgIsEmpty(bool stutas);
    void setCopyRightImg(const QUrl &copyRightImg);
    void setAppName(const QString &appName);

private:
    template <typename T, typename Signal> void assign(T &field, const T &value, Signal notify);

    ThemeObjectPrivate *d;
    QHash<int, QByteArray> skinNames;
    CCustomImg *customImg;
};
