// The types the window's documents import, registered once for every program that
// loads them the way the shipped one does (the program itself and its benchmark).
#pragma once

void registerQmlTypes();
