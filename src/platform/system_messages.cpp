#ifndef _WIN32
// The system's own message table: the texts FormatMessageA gives for
// FORMAT_MESSAGE_FROM_SYSTEM. They are the platform's English texts, word for
// word and with their trailing line break, because hosts show them to users
// and tests compare them with what the platform itself says.
#include "system_messages.h"

#include <olectl.h>

namespace {

struct SystemMessage {
    DWORD id;
    const char* text;
};

constexpr SystemMessage kMessages[] = {
    // Win32 error numbers.
    {0, "The operation completed successfully.\r\n"},
    {2, "The system cannot find the file specified.\r\n"},
    {3, "The system cannot find the path specified.\r\n"},
    {5, "Access is denied.\r\n"},
    {6, "The handle is invalid.\r\n"},
    {8, "Not enough memory resources are available to process this command.\r\n"},
    {11, "An attempt was made to load a program with an incorrect format.\r\n"},
    {13, "The data is invalid.\r\n"},
    {14, "Not enough memory resources are available to complete this operation.\r\n"},
    {29, "The system cannot write to the specified device.\r\n"},
    {30, "The system cannot read from the specified device.\r\n"},
    {87, "The parameter is incorrect.\r\n"},
    {112, "There is not enough space on the disk.\r\n"},
    {122, "The data area passed to a system call is too small.\r\n"},
    {123, "The filename, directory name, or volume label syntax is incorrect.\r\n"},
    {126, "The specified module could not be found.\r\n"},
    {127, "The specified procedure could not be found.\r\n"},
    {183, "Cannot create a file when that file already exists.\r\n"},
    {193, "%1 is not a valid Win32 application.\r\n"},
    {234, "More data is available.\r\n"},
    {259, "No more data is available.\r\n"},
    {317, "The system cannot find message text for message number 0x%1 in the message file for %2.\r\n"},
    {1004, "Invalid flags.\r\n"},
    {1009, "The configuration registry database is corrupt.\r\n"},
    {1010, "The configuration registry key is invalid.\r\n"},
    {1011, "The configuration registry key could not be opened.\r\n"},
    {1012, "The configuration registry key could not be read.\r\n"},
    {1013, "The configuration registry key could not be written.\r\n"},
    {1018, "Illegal operation attempted on a registry key that has been marked for deletion.\r\n"},
    {1113, "No mapping for the Unicode character exists in the target multi-byte code page.\r\n"},
    {1460, "This operation returned because the timeout period expired.\r\n"},
    {1812, "The specified image file did not contain a resource section.\r\n"},
    {1813, "The specified resource type cannot be found in the image file.\r\n"},
    {1814, "The specified resource name cannot be found in the image file.\r\n"},
    {1815, "The specified resource language ID cannot be found in the image file.\r\n"},

    // Generic HRESULTs.
    {0x8000FFFF, "Catastrophic failure\r\n"},
    {0x80004001, "Not implemented\r\n"},
    {0x80004002, "No such interface supported\r\n"},
    {0x80004003, "Invalid pointer\r\n"},
    {0x80004004, "Operation aborted\r\n"},
    {0x80004005, "Unspecified error\r\n"},

    // Remote procedure calls and apartments.
    {0x80010105, "The server threw an exception.\r\n"},
    {0x80010106, "Cannot change thread mode after it is set.\r\n"},

    // Dispatch.
    {0x80020001, "Unknown interface.\r\n"},
    {0x80020003, "Member not found.\r\n"},
    {0x80020004, "Parameter not found.\r\n"},
    {0x80020005, "Type mismatch.\r\n"},
    {0x80020006, "Unknown name.\r\n"},
    {0x80020007, "No named arguments.\r\n"},
    {0x80020008, "Bad variable type.\r\n"},
    {0x80020009, "Exception occurred.\r\n"},
    {0x8002000A, "Out of present range.\r\n"},
    {0x8002000B, "Invalid index.\r\n"},
    {0x8002000C, "Unknown language.\r\n"},
    {0x8002000D, "Memory is locked.\r\n"},
    {0x8002000E, "Invalid number of parameters.\r\n"},
    {0x8002000F, "Parameter not optional.\r\n"},
    {0x80020010, "Invalid callee.\r\n"},
    {0x80020011, "Does not support a collection.\r\n"},
    {0x80020012, "Division by zero.\r\n"},
    {0x80020013, "Buffer too small\r\n"},

    // Type libraries.
    {0x8002801D, "Library not registered.\r\n"},
    {0x80028029, "Invalid forward reference, or reference to uncompiled type.\r\n"},
    {0x8002802B, "Element not found.\r\n"},
    {0x80029C4A, "Error loading type library/DLL.\r\n"},

    // Classes, the registry and the component runtime.
    {0x80040110, "Class does not support aggregation (or class object is remote)\r\n"},
    {0x80040111, "ClassFactory cannot supply requested class\r\n"},
    {0x80040112, "Class is not licensed for use\r\n"},
    {0x80040150, "Could not read key from registry\r\n"},
    {0x80040151, "Could not write key to registry\r\n"},
    {0x80040154, "Class not registered\r\n"},
    {0x80040155, "Interface not registered\r\n"},
    {0x800401F0, "CoInitialize has not been called.\r\n"},
    {0x800401F3, "Invalid class string\r\n"},
    {0x800401F8, "DLL for class not found\r\n"},
    {0x800401F9, "Error in the DLL\r\n"},

    // Connection points. Their numbers lie in the range the platform gives
    // the event system, and its table has only the event system's texts:
    // CONNECT_E_ADVISELIMIT (0x80040201) reads as the event error of the
    // same number, while CONNECT_E_NOCONNECTION (0x80040200) and
    // CONNECT_E_CANNOTCONNECT (0x80040202) have no text at all.
    {0x80040201, "An event was unable to invoke any of the subscribers\r\n"},
};

const char* Find(DWORD id) {
    for (const SystemMessage& m : kMessages) {
        if (m.id == id) return m.text;
    }
    return nullptr;
}

}  // namespace

namespace ostrel::platform {

const char* FindSystemMessage(DWORD id) {
    if (const char* text = Find(id)) return text;
    // A Win32 error wrapped in an HRESULT reads as the error itself, as
    // E_OUTOFMEMORY and E_INVALIDARG do on the platform.
    if ((id & 0xFFFF0000u) == 0x80070000u) return Find(id & 0xFFFFu);
    return nullptr;
}

}  // namespace ostrel::platform

#endif
