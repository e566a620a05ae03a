// Builds only if Matrix.h, included first and alone, includes everything it uses.
#include "Matrix.h"
