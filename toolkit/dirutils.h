// Whole-directory helpers of the toolkit: existence, emptiness, copying, listing and
// emptying a tree. Hidden entries are left alone by all of them.
#pragma once
#include <QString>
#include <QStringList>

bool dirExists(const QString &path);
bool isDirEmpty(const QString &path);
void copyDirectory(const QString &src, const QString &dst);
// For flat directories only: a subdirectory makes it list the same directory again
// without end.
void getFilesInDir(const QString &path, QStringList &files);
bool delFilesInDir(const QString &path);
