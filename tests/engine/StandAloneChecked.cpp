// Builds only if Checked.h, included first and alone, includes everything it uses.
#include "Checked.h"
