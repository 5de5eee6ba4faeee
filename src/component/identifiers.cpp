// The library's identifiers (type library, classes, interfaces), defined once
// and exported, so a host that links the library can name them.
#define INITGUID
#include <Ostrel.h>
