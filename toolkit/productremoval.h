// Taking a desktop client product off the terminal: the package queries of the
// desktop client Tessera and the classroom client Lumenhall against the terminal's own
// package database, their uninstallers, and the clean-up of the USB redirection drivers.
#pragma once
#include <QString>

QString getTesseraPackageField();
// Folder that holds the product's "start.sh", or empty when the product is not installed.
QString getTesseraInstallPath();
// Ends the running client, then runs its uninstaller if one is found.
void uninstallTessera();

QString getLumenhallPackageField();
QString getLumenhallInstallPath();
void uninstallLumenhall();

void removeUsbDriveFiles();
