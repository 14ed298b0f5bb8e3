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
    height: 75
    implicitWidth: width
    implicitHeight: height

    property alias imageSource: icon.source
    property string localInfo
    // Declared for symmetry with the text rows; nothing shows it.
    property string recommendInfo
    property alias backgroundColor: circle.color
    property alias diskGridViewModel: diskGridView.model

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
            Layout.alignment: Qt.AlignVCenter
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 9

            Text {
                objectName: "titleLine"
                text: controlItem.localInfo
                font.pixelSize: 14
                color: "#181818"
                font.family: "Microsoft YaHei"
            }

            Rectangle {
                Layout.fillWidth: true
                Layout.fillHeight: true

                ListView {
                    id: diskGridView
                    objectName: "diskGridView"
                    anchors.fill: parent
                    orientation: ListView.Horizontal
                    spacing: 10
                    clip: true
                    ScrollBar.horizontal: ScrollBar {}

                    delegate: ColumnLayout {
                        Text {
                            text: modelData.partition
                            font.pixelSize: 12
                            color: "#8c8c8c"
                            font.family: "Microsoft YaHei"
                        }
                        Text {
                            text: modelData.availablecapability + " GB / " + modelData.capability + " GB"
                            font.pixelSize: 12
                            color: "#8c8c8c"
                            font.family: "Microsoft YaHei"
                        }
                    }
                }
            }
        }
    }
}
