#include "RuntimeError.h"

const char* RuntimeError::what() const noexcept {
    switch (number_) {
        case Overflow:
            return "Overflow";
        case OutOfMemory:
            return "Out of memory";
        case SubscriptOutOfRange:
            return "Subscript out of range";
        case DivisionByZero:
            return "Division by zero";
        default:
            return "Application-defined or object-defined error";
    }
}
