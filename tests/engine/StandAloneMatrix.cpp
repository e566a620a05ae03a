// Matrix.h stands alone: it is the first and only include of this translation unit, so the
// test program builds only if the header includes everything it uses.
#include "Matrix.h"
