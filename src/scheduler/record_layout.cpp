// The scheduler's records cross the boundary by value, so their layout is a
// wire format: these are the offsets the 64-bit platform's rules give them
// (8-byte pointers, 24-byte VARIANTs, natural alignment). A change to the
// type library that moves a field stops the build here.
#include <cstddef>

#include <Ostrel.h>

#if defined(_WIN64) || (!defined(_WIN32) && defined(__LP64__))

static_assert(sizeof(VARIANT) == 24);

static_assert(sizeof(task_key) == 32);
static_assert(offsetof(task_key, Level) == 0);
static_assert(offsetof(task_key, dwReserved) == 4);
static_assert(offsetof(task_key, Value) == 8);

static_assert(sizeof(tagScheduleInterval) == 32);
static_assert(offsetof(tagScheduleInterval, dtStart) == 0);
static_assert(offsetof(tagScheduleInterval, dtStop) == 8);
static_assert(offsetof(tagScheduleInterval, dwFlags) == 16);
static_assert(offsetof(tagScheduleInterval, dwReserved) == 20);
static_assert(offsetof(tagScheduleInterval, dblDuration) == 24);

static_assert(sizeof(tagScheduleResource) == 32);
static_assert(offsetof(tagScheduleResource, rkResource) == 0);
static_assert(offsetof(tagScheduleResource, dblAssigned) == 24);

static_assert(sizeof(tagSchedulePredecessor) == 48);
static_assert(offsetof(tagSchedulePredecessor, tkPred) == 0);
static_assert(offsetof(tagSchedulePredecessor, ptType) == 32);
static_assert(offsetof(tagSchedulePredecessor, dblLag) == 40);

static_assert(sizeof(tagScheduleData) == 144);
static_assert(offsetof(tagScheduleData, tkKey) == 0);
static_assert(offsetof(tagScheduleData, tkParent) == 32);
static_assert(offsetof(tagScheduleData, coConstraint) == 64);
static_assert(offsetof(tagScheduleData, dtConstraint) == 72);
static_assert(offsetof(tagScheduleData, dwPriority) == 80);
static_assert(offsetof(tagScheduleData, dwSRFlags) == 84);
static_assert(offsetof(tagScheduleData, dwIntervals) == 88);
static_assert(offsetof(tagScheduleData, psi) == 96);
static_assert(offsetof(tagScheduleData, dwResources) == 104);
static_assert(offsetof(tagScheduleData, psr) == 112);
static_assert(offsetof(tagScheduleData, dwPredecessors) == 120);
static_assert(offsetof(tagScheduleData, psp) == 128);
static_assert(offsetof(tagScheduleData, dwInternal) == 136);
static_assert(offsetof(tagScheduleData, dwReserved) == 140);

static_assert(sizeof(tagScheduleMessage) == 56);
static_assert(offsetof(tagScheduleMessage, tk) == 0);
static_assert(offsetof(tagScheduleMessage, dwCookie) == 32);
static_assert(offsetof(tagScheduleMessage, Severity) == 36);
static_assert(offsetof(tagScheduleMessage, bstrMessage) == 40);
static_assert(offsetof(tagScheduleMessage, bstrLongMessage) == 48);

#endif

// Enumerations are 32-bit on every platform.
static_assert(sizeof(tagCONSTRAINT) == 4 && sizeof(tagPRED_TYPE) == 4 && sizeof(MESSAGE_SEVERITY) == 4);
