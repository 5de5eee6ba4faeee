// The project `ostrel schedule` runs when given no file: a clinic fit-out
// with three outline levels, every link type, a few constraints, five
// resources on calendars of their own and one resource booked twice.
#pragma once

namespace cli {
extern const char* const kExampleProject;
}
