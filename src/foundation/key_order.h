// Ordering and equality of key values and of task_key records: every keyed
// index of the scheduler is built on these, so their unusual rules decide
// which keys collide.
//
// - Values of different types: an empty or null value sorts after every other
//   value (and each of empty and null counts as less than the other);
//   otherwise the second operand is converted IN PLACE to the first's type,
//   and stays converted.
// - Arrays of variants compare element by element; two one-element arrays
//   never order before each other, yet may be unequal.
// - Two values of a type that cannot be compared (empty, null, objects...)
//   throw DISP_E_BADVARTYPE; a failed conversion throws its HRESULT.
//
// Because the second operand may be rewritten, two threads must not compare
// against the same stored key at once.
#pragma once
#include <Ostrel.h>

namespace ostrel {

bool VariantLess(const VARIANT& a, VARIANT& b);
bool VariantEqual(const VARIANT& a, VARIANT& b);

// Level first (signed), then the value; dwReserved is never looked at.
bool TaskKeyLess(const task_key& a, task_key& b);
bool TaskKeyEqual(const task_key& a, task_key& b);

}  // namespace ostrel
