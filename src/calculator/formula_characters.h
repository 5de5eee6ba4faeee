// The character classes the evaluator splits and reads by.
#pragma once
#include <windows.h>

namespace ostrel::formula {

inline bool IsOperator(OLECHAR c) {
    switch (c) {
    case '*': case '+': case '-': case '/': case '%': case '^':
    case '=': case '!': case '<': case '>': case '&': case '|': return true;
    default: return false;
    }
}

// The sign in 1E-5 follows one of these and is no operator.
inline bool IsExponentLetter(OLECHAR c) { return c == 'E' || c == 'e'; }

// Binding levels, tightest first: ^, %, * and /, + and -, && and ||, ==,
// <, >, !=. Logical operators binding tighter than comparisons is how
// formulas have always read: 1==1&&2==2 is 1==(1&&2)==2.
inline int Level(OLECHAR op) {
    switch (op) {
    case '^': return 0;
    case '%': return 1;
    case '*': case '/': return 2;
    case '+': case '-': return 3;
    case '&': case '|': return 4;
    case '=': return 5;
    case '<': return 6;
    case '>': return 7;
    default: return 8;  // '!'
    }
}

// Classic-locale letters and digits, for characters classified by their low
// 8 bits.
inline bool IsLetter(OLECHAR c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
inline bool IsDigit(OLECHAR c) { return c >= '0' && c <= '9'; }

}  // namespace ostrel::formula
