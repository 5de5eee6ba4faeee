// The type library's identifiers, defined here as well so that the lock links
// without the server; the definitions are weak and merge with the server's.
#define INITGUID
#include <Ostrel.h>
