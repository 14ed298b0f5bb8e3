import QtQuick 2.12
import QtQuick.Layouts 1.12
import QtQuick.Controls 2.12
import com.virtual.vdi 1.0

ApplicationWindow {
    id: mainWindow
    objectName: "mainWindow"
    title: qsTr("硬件检测")
    width: 740
    height: 570
    visible: true
    flags: Qt.FramelessWindowHint | Qt.WindowMinMaxButtonsHint | Qt.Window

    background: Rectangle {
        anchors.fill: parent
        border.color: "black"
    }

    DraggableMouseArea {
        objectName: "dragArea"
        anchors.fill: parent
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            id: titleBar
            objectName: "titleBar"
            color: "transparent"
            Layout.preferredHeight: 50
            Layout.fillWidth: true

            ColumnLayout {
                anchors.fill: parent
                spacing: 0

                RowLayout {
                    Layout.fillWidth: true
                    Layout.fillHeight: true

                    Image {
                        source: "qrc:/image/probix.png"
                        Layout.leftMargin: 10
                    }

                    Text {
                        objectName: "titleText"
                        text: qsTr("硬件检测")
                        Layout.leftMargin: 20
                        color: "#000000"
                        font.pixelSize: 16
                        font.family: "Microsoft YaHei"
                        horizontalAlignment: Text.AlignHCenter
                        clip: true
                        // Kept as written: these name nothing on Text, so the implicit size holds.
                        height: Text.implicitHeight
                        width: Text.implicitWidth
                    }

                    Item {
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                    }

                    ToolButton {
                        id: closeButton
                        objectName: "closeButton"
                        Layout.preferredWidth: 34
                        Layout.preferredHeight: 34
                        Layout.rightMargin: 20
                        z: 10
                        background: Item {}
                        icon.source: "qrc:/image/close-circle.svg"
                        icon.width: 10
                        icon.height: 10
                        icon.color: "black"
                        ToolTip.text: qsTr("关闭")
                        ToolTip.visible: hovered && ToolTip.text !== ""
                        ToolTip.delay: 600
                        onClicked: {
                            console.debug("close Button clicked ~!!!!")
                            mainWindow.close()
                        }
                    }
                }

                Rectangle {
                    Layout.preferredHeight: 1
                    Layout.fillWidth: true
                    Layout.leftMargin: 2
                    Layout.rightMargin: 2
                    color: "#dcdcdc"
                }
            }
        }

        ColumnLayout {
            id: contentLayout
            objectName: "contentLayout"
            spacing: 15
            Layout.topMargin: 15
            Layout.alignment: Qt.AlignCenter

            HandWareInfo {
                id: cpuInfor
                objectName: "cpuInfor"
                imageSource: "qrc:/image/hardware_cpu.png"
                backgroundColor: true ? "#52c41a" : "#ff4d4f"
                titleInfo: "CPU"
                localInfo: qsTr("本机") + "：" + probix.cpuFrequency + " GHz"
                recommendInfo: qsTr("推荐") + "：" + 2.3 + " GHz" + qsTr("以上")
                errorInfo: probix.cpuFrequency < 2.3 ? qsTr("CPU主频低") : ""
            }

            Rectangle {
                Layout.preferredHeight: 1
                Layout.preferredWidth: cpuInfor.width
                color: "#000000"
                opacity: 0.08
            }

            HandWareInfo {
                id: memeryInfor
                objectName: "memeryInfor"
                imageSource: "qrc:/image/hardware-mem.png"
                backgroundColor: true ? "#52c41a" : "#ff4d4f"
                titleInfo: qsTr("内存")
                localInfo: qsTr("本机") + "：" + probix.memoryTotal + " GB"
                recommendInfo: qsTr("推荐") + "：" + 2 + " GB" + qsTr("以上")
                errorInfo: probix.memoryTotal < 2 ? qsTr("内存过低") : ""
            }

            Rectangle {
                Layout.preferredHeight: 1
                Layout.preferredWidth: memeryInfor.width
                color: "#000000"
                opacity: 0.08
            }

            HandWareInfo {
                id: bandwidthInfor
                objectName: "bandwidthInfor"
                imageSource: "qrc:/image/hardware_bw.png"
                backgroundColor: true ? "#52c41a" : "#ff4d4f"
                titleInfo: qsTr("网络")
                localInfo: probix.serverinfo.available ? qsTr("状态") + "：" + qsTr("良好") : ""
                recommendInfo: qsTr("客户端当前配置地址") + "：" + probix.serverinfo.ip + " : " + probix.serverinfo.port
                errorInfo: probix.serverinfo.available ? "" : qsTr("故障")
            }

            Rectangle {
                Layout.preferredHeight: 1
                Layout.preferredWidth: bandwidthInfor.width
                color: "#000000"
                opacity: 0.08
            }

            HarddiskInfo {
                id: resolutionInfor
                objectName: "resolutionInfor"
                imageSource: "qrc:/image/hardware-res.png"
                backgroundColor: true ? "#52c41a" : "#ff4d4f"
                localInfo: qsTr("磁盘")
                diskGridViewModel: probix.disks
            }

            Rectangle {
                Layout.preferredHeight: 1
                Layout.preferredWidth: resolutionInfor.width
                color: "#000000"
                opacity: 0.08
            }

            HandWareInfo {
                objectName: "systemInfor"
                imageSource: "qrc:/image/hardware_bw.png"
                backgroundColor: true ? "#52c41a" : "#ff4d4f"
                titleInfo: qsTr("系统")
                localInfo: probix.os
                recommendInfo: ""
                errorInfo: ""
            }
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
        }
    }

    Probix {
        id: probix
        objectName: "probix"
    }

    Timer {
        id: updateTimer
        objectName: "updateTimer"
        interval: 2000
        repeat: true
        running: false
        triggeredOnStart: false
        onTriggered: probix.update()
    }

    Component.onCompleted: updateTimer.start()
}
