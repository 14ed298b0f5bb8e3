import QtQuick 2.12

MouseArea {
    acceptedButtons: Qt.LeftButton
    propagateComposedEvents: false

    property real cursorX: 0.0
    property real cursorY: 0.0
    // Declared and tested, never set: a double click neither maximises nor restores.
    property bool isDoubleClicked: false
    property bool processPositionChange: false

    // At most one move every 40 ms, so a slow window manager is not flooded.
    Timer {
        id: positionHandleTimer
        interval: 40
        running: false
        repeat: false
        onTriggered: processPositionChange = true
    }

    onPressed: {
        cursorX = mouse.x
        cursorY = mouse.y
        positionHandleTimer.start()
    }

    // Kept on purpose: visibility and Qt.WindowMaximized come from different
    // enumerations, and 2 is also QWindow::Windowed, so the ordinary window
    // takes the moving branch below.
    onPositionChanged: {
        if (!processPositionChange || isDoubleClicked)
            return
        if (mainWindow.visibility !== Qt.WindowMaximized) {
            var oldWidth = mainWindow.width
            var oldHeight = mainWindow.height
            mainWindow.showNormal()
            cursorX = mouse.x * mainWindow.width / oldWidth
            cursorY = mouse.y * mainWindow.height / oldHeight
        } else {
            mainWindow.setX(mainWindow.x + (mouse.x - cursorX))
            mainWindow.setY(mainWindow.y + (mouse.y - cursorY))
        }
        mouse.accepted = true
        processPositionChange = false
        positionHandleTimer.start()
    }

    onReleased: {
        if (isDoubleClicked) {
            isDoubleClicked = false
            return
        }
        processPositionChange = false
        if (mainWindow.visibility !== Qt.WindowMaximized)
            return
        mainWindow.setX(mainWindow.x + (mouse.x - cursorX))
        mainWindow.setY(mainWindow.y + (mouse.y - cursorY))
        mouse.accepted = true
    }
}
