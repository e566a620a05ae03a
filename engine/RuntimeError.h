#pragma once
// The program's run-time errors. Every failure of an operation is one of these, thrown
// where it happens and never caught on the way: the window's guard hands it to the
// platform, which reports it and ends the program.

#include <exception>

class RuntimeError : public std::exception {
public:
    static constexpr int Overflow = 6;
    static constexpr int OutOfMemory = 7;
    static constexpr int SubscriptOutOfRange = 9;
    static constexpr int DivisionByZero = 11;

    explicit RuntimeError(int number) noexcept : number_(number) {}

    int Number() const noexcept { return number_; }
    // The error's description: "Overflow", "Out of memory", "Subscript out of range",
    // "Division by zero".
    const char* what() const noexcept override;

private:
    int number_;
};
