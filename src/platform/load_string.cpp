#ifndef _WIN32
// LoadStringW: one string of a module's string table.
//
// Strings live in RT_STRING blocks of sixteen, block n holding the strings
// numbered (n - 1) * 16 to n * 16 - 1, each a 16-bit length and that many
// UTF-16 units without a terminator. The edge cases follow the platform as
// probed: a buffer of one unit (or a negative size) is left untouched, a string missing from a
// block that exists reads as empty (the buffer gets a terminator), and a
// missing block fails with FindResourceW's error and leaves the buffer
// alone.
#include <cstring>

#include <windows.h>

namespace {

WORD Unit(const BYTE* at) {
    WORD unit;
    std::memcpy(&unit, at, sizeof unit);
    return unit;
}

}  // namespace

int WINAPI LoadStringW(HINSTANCE hInstance, UINT uID, LPWSTR lpBuffer, int cchBufferMax) {
    if (!lpBuffer) return 0;
    HRSRC found = FindResourceW(hInstance, MAKEINTRESOURCEW((LOWORD(uID) >> 4) + 1), RT_STRING);
    if (!found) return 0;  // with FindResourceW's error
    const auto* block = static_cast<const BYTE*>(LockResource(LoadResource(hInstance, found)));
    const DWORD size = SizeofResource(hInstance, found);
    if (!block) return 0;

    // Walk to the string, never past the block's end: a damaged block reads
    // as missing strings.
    DWORD offset = 0;
    for (UINT skip = uID & 15; skip > 0; --skip) {
        if (offset + sizeof(WORD) > size) return 0;
        offset += sizeof(WORD) * (1 + DWORD(Unit(block + offset)));
    }
    if (offset + sizeof(WORD) > size) return 0;
    DWORD length = Unit(block + offset);
    const BYTE* text = block + offset + sizeof(WORD);
    if (offset + sizeof(WORD) * (1 + length) > size) length = (size - offset) / sizeof(WORD) - 1;

    if (cchBufferMax == 0) {
        // The string inside the module, in place; its storage is 16-bit aligned.
        const OLECHAR* inPlace = reinterpret_cast<const OLECHAR*>(text);
        std::memcpy(lpBuffer, &inPlace, sizeof inPlace);
        return int(length);
    }
    if (cchBufferMax < 2) return 0;  // no room for a unit and the terminator
    const DWORD copied = length < DWORD(cchBufferMax - 1) ? length : DWORD(cchBufferMax - 1);
    std::memcpy(lpBuffer, text, copied * sizeof(OLECHAR));
    lpBuffer[copied] = 0;
    return int(copied);
}

#endif
