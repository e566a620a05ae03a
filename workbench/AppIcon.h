#pragma once
// The program's icon (16 and 32 pixel images), for the windows' title bars.

#include <QIcon>

QIcon AppIcon();
