import QtQuick 2.12
import QtQuick.Controls 2.12
import QtQuick.Layouts 1.12
import QtQuick.Dialogs 1.0
import QtGraphicalEffects 1.12
import Themes 1.0

Rectangle {
    id: controlItem
    color: "transparent"
    width: 660
    height: 70
    implicitWidth: width
    implicitHeight: height

    property alias imageSource: icon.source
    property alias errorInfo: errorText.text
    property string titleInfo
    property string localInfo
    property string recommendInfo
    property alias backgroundColor: circle.color

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            id: circle
            objectName: "iconCircle"
            Layout.preferredWidth: 36
            Layout.preferredHeight: 36
            Layout.alignment: Qt.AlignVCenter
            radius: height / 2
            color: "#52c41a"

            Image {
                id: icon
                anchors.centerIn: parent
                width: 18
                height: 18
                source: "qrc:/image/discuss.png"
            }
        }

        ColumnLayout {
            Layout.leftMargin: 14
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 4

            Text {
                objectName: "titleLine"
                text: controlItem.titleInfo
                font.family: "Microsoft YaHei"
                font.pixelSize: 14
                color: "#181818"
                Layout.preferredHeight: 13
                Layout.alignment: Qt.AlignTop
            }

            Text {
                objectName: "localLine"
                text: controlItem.localInfo
                visible: text !== ""
                font.family: "Microsoft YaHei"
                font.pixelSize: 14
                color: "#181818"
                Layout.preferredHeight: 13
                Layout.alignment: Qt.AlignTop
            }

            Text {
                objectName: "recommendLine"
                text: controlItem.recommendInfo
                visible: text !== ""
                font.family: "Microsoft YaHei"
                font.pixelSize: 12
                color: "#8c8c8c"
                Layout.preferredHeight: 11
                Layout.alignment: Qt.AlignTop
            }
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
        }

        Item {
            objectName: "warning"
            Layout.preferredWidth: 60
            Layout.fillHeight: true
            visible: errorText.text !== ""

            RowLayout {
                anchors.centerIn: parent

                Image {
                    source: "qrc:/image/warning.png"
                    Layout.preferredWidth: 16
                    Layout.preferredHeight: 16
                }

                Text {
                    id: errorText
                    objectName: "warningText"
                    font.family: "Microsoft YaHei"
                    font.pixelSize: 12
                    color: "#d72f2f"
                    horizontalAlignment: Text.AlignRight
                    verticalAlignment: Text.AlignVCenter
                    wrapMode: Text.WrapAnywhere
                }
            }
        }
    }
}
