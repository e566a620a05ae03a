#pragma once
// The font of the program's windows: the desktop's classic dialog font at 8.25 points,
// asked for by its usual names first and then by metric-compatible stand-ins and the
// sans-serif fonts most desktops have, so every window keeps the same proportions.

#include <QFont>

QFont DialogFont();
