// Builds only if NumberText.h, included first and alone, includes everything it uses.
#include "NumberText.h"
