// TestMessages.dll: a message table written out by hand in the platform's
// MESSAGE_RESOURCE_DATA layout, so its reading is tested apart from ostrel-mc.
// On Windows the same bytes come from test_messages_module.rc.
#ifdef _WIN32
#define TEST_EXPORT __declspec(dllexport)
#else
#define TEST_EXPORT __attribute__((visibility("default")))
#include <cstddef>
#include <cstdint>

#include <wtypes.h>

#include "module_resources.h"

namespace {

// Entries {Length, Flags, text}: Length covers the entry, padded to four
// bytes; N is the text's room, NUL and padding included.
template <size_t N>
struct AnsiEntry {
    static_assert((4 + N) % 4 == 0, "entries are padded to four bytes");
    uint16_t length = 4 + N;
    uint16_t flags = 0;
    char text[N];
};
template <size_t N>
struct WideEntry {
    static_assert((4 + 2 * N) % 4 == 0, "entries are padded to four bytes");
    uint16_t length = 4 + 2 * N;
    uint16_t flags = 1;  // UTF-16 text
    OLECHAR text[N];
};

struct Block {
    uint32_t lowId, highId, offsetToEntries;
};

// Messages 1-5 in one block, 0x100-0x101 in another.
struct MessageTable {
    uint32_t numberOfBlocks;
    Block blocks[2];
    AnsiEntry<16> plain;
    AnsiEntry<40> inserts;
    AnsiEntry<28> endsEarly;
    WideEntry<12> wide;
    AnsiEntry<48> longLine;
    AnsiEntry<24> high;
    AnsiEntry<8> next;
};

constexpr MessageTable kTable = {
    2,
    {{1, 5, offsetof(MessageTable, plain)}, {0x100, 0x101, offsetof(MessageTable, high)}},
    {.text = "Plain text.\r\n"},
    {.text = "Task %1 conflicts with %2!d! items.\r\n"},
    {.text = "First line\r\nsecond%0\r\n"},
    {.text = OLESTR("Wide \u20ac %1\r\n")},
    {.text = "The quick brown fox jumps over the lazy dog.\r\n"},
    {.text = "High block %1!08X!\r\n"},
    {.text = "Next\r\n"},
};

constexpr unsigned char kNotes[] = {'n', 'o', 't', 'e', 's'};

}  // namespace

OSTREL_RESOURCE_TABLE = {
    {OSTREL_RT_STRING, 1, kNotes, sizeof kNotes},
    {OSTREL_RT_MESSAGETABLE, 1, &kTable, sizeof kTable},
    {nullptr, 0, nullptr, 0},
};
#endif

// An export of the module's own, for GetProcAddress.
extern "C" TEST_EXPORT int TestMessagesAnswer() { return 42; }
