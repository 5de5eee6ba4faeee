#ifndef _WIN32
// FormatMessageA: finds a message text (given, in a module's message table,
// or in the system's table), expands it, and hands it over in the caller's
// buffer or in one allocated with LocalAlloc.
#include <cstring>
#include <new>
#include <string>

#include "message_formatting.h"
#include "module_resources.h"
#include "resource_lookup.h"
#include "system_messages.h"

namespace {

using ostrel::platform::ExpandMessage;
using ostrel::platform::FindModuleResource;
using ostrel::platform::FindSystemMessage;

// The message compiler stores a module's messages as message table 1.
constexpr unsigned kMessageTableId = 1;
constexpr WORD kUnicodeEntry = 0x0001;  // the entry's text is UTF-16, not ANSI

// Every table here is English (the message compiler marks ours 0x409), and a
// neutral language asks for the default one, which is English too.
bool LanguageAvailable(DWORD language) {
    const DWORD primary = language & 0x3FF;
    return language <= 0xFFFF && (primary == LANG_NEUTRAL || primary == LANG_ENGLISH);
}

ULONG Read32(const unsigned char* p) { return ULONG(p[0]) | ULONG(p[1]) << 8 | ULONG(p[2]) << 16 | ULONG(p[3]) << 24; }
USHORT Read16(const unsigned char* p) { return USHORT(p[0] | p[1] << 8); }

// The text of one entry of a message table, converted to ANSI.
std::string EntryText(const unsigned char* text, size_t size, bool unicode) {
    if (!unicode) return std::string(reinterpret_cast<const char*>(text), strnlen(reinterpret_cast<const char*>(text), size));
    std::u16string wide;
    for (size_t i = 0; i + 1 < size; i += 2) {
        char16_t unit = char16_t(Read16(text + i));
        if (unit == 0) break;
        wide += unit;
    }
    if (wide.empty()) return std::string();
    int length = WideCharToMultiByte(CP_ACP, 0, wide.data(), int(wide.size()), nullptr, 0, nullptr, nullptr);
    std::string out(size_t(length), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.data(), int(wide.size()), out.data(), length, nullptr, nullptr);
    return out;
}

// Looks a number up in a table in the platform's MESSAGE_RESOURCE_DATA
// format: a count of blocks, each {LowId, HighId, OffsetToEntries}, and for
// each block its entries in number order, each {USHORT Length; USHORT Flags;
// text padded to Length}. Every offset is checked against the table's size,
// so a damaged table fails with ERROR_INVALID_DATA instead of being read
// past its end.
DWORD MessageFromTable(const unsigned char* table, size_t size, DWORD id, std::string& text) {
    if (size < 4) return ERROR_INVALID_DATA;
    const ULONG blocks = Read32(table);
    if (blocks > (size - 4) / 12) return ERROR_INVALID_DATA;
    for (ULONG b = 0; b < blocks; ++b) {
        const unsigned char* block = table + 4 + 12 * size_t(b);
        const ULONG low = Read32(block), high = Read32(block + 4);
        if (id < low || id > high) continue;
        size_t at = Read32(block + 8);
        for (ULONG number = low;; ++number) {
            if (at > size || size - at < 4) return ERROR_INVALID_DATA;
            const USHORT length = Read16(table + at), flags = Read16(table + at + 2);
            if (length < 4 || length > size - at) return ERROR_INVALID_DATA;
            if (number == id) {
                text = EntryText(table + at + 4, length - 4u, flags & kUnicodeEntry);
                return ERROR_SUCCESS;
            }
            at += length;
        }
    }
    return ERROR_MR_MID_NOT_FOUND;
}

DWORD MessageFromModule(HMODULE module, DWORD id, std::string& text) {
    const void* data = nullptr;
    unsigned long size = 0;
    DWORD error = FindModuleResource(module, OSTREL_RT_MESSAGETABLE, kMessageTableId, data, size);
    if (error != ERROR_SUCCESS) return error;
    return MessageFromTable(static_cast<const unsigned char*>(data), size, id, text);
}

// The unexpanded text of the message the flags ask for. With both a module
// and the system, the module is asked first; when neither has the number,
// the system's answer (ERROR_MR_MID_NOT_FOUND) is the one reported.
DWORD MessageText(DWORD flags, LPCVOID source, DWORD id, DWORD language, std::string& text) {
    if (flags & FORMAT_MESSAGE_FROM_STRING) {
        if (!source) return ERROR_INVALID_PARAMETER;
        text = static_cast<const char*>(source);
        return ERROR_SUCCESS;
    }
    if (!(flags & (FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM))) return ERROR_INVALID_PARAMETER;
    if (!LanguageAvailable(language)) return ERROR_RESOURCE_LANG_NOT_FOUND;
    DWORD error = ERROR_MR_MID_NOT_FOUND;
    if (flags & FORMAT_MESSAGE_FROM_HMODULE) {
        error = MessageFromModule(static_cast<HMODULE>(const_cast<void*>(source)), id, text);
        if (error == ERROR_SUCCESS) return error;
    }
    if (flags & FORMAT_MESSAGE_FROM_SYSTEM) {
        const char* system = FindSystemMessage(id);
        if (!system) return ERROR_MR_MID_NOT_FOUND;
        text = system;
        return ERROR_SUCCESS;
    }
    return error;
}

DWORD Fail(DWORD error) {
    SetLastError(error);
    return 0;
}

DWORD Format(DWORD flags, LPCVOID source, DWORD id, DWORD language, LPSTR buffer, DWORD size, void* arguments) {
    const bool allocate = flags & FORMAT_MESSAGE_ALLOCATE_BUFFER;
    // With ALLOCATE_BUFFER, lpBuffer is where the new buffer's address goes;
    // it reads null until there is a buffer to hand over.
    LPSTR* allocated = reinterpret_cast<LPSTR*>(buffer);
    if (allocate) {
        if (!allocated) return Fail(ERROR_INVALID_PARAMETER);
        *allocated = nullptr;
    }

    std::string text;
    DWORD error = MessageText(flags, source, id, language, text);
    if (error != ERROR_SUCCESS) return Fail(error);
    std::string message;
    error = ExpandMessage(text, flags, arguments, message);
    if (error != ERROR_SUCCESS) return Fail(error);
    // An empty result cannot be told from failure by the count, so the
    // platform reports it as one.
    if (message.empty()) return Fail(ERROR_NO_WORK_DONE);

    if (allocate) {
        // At least nSize bytes, as the caller asked.
        const size_t bytes = message.size() + 1 > size ? message.size() + 1 : size;
        auto* out = static_cast<LPSTR>(LocalAlloc(LMEM_FIXED, bytes));
        if (!out) return Fail(ERROR_NOT_ENOUGH_MEMORY);
        std::memcpy(out, message.c_str(), message.size() + 1);
        *allocated = out;
    } else {
        if (!buffer || message.size() + 1 > size) return Fail(ERROR_INSUFFICIENT_BUFFER);
        std::memcpy(buffer, message.c_str(), message.size() + 1);
    }
    return DWORD(message.size());
}

}  // namespace

DWORD WINAPI FormatMessageA(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId, DWORD dwLanguageId, LPSTR lpBuffer,
                            DWORD nSize, void* Arguments) {
    try {
        return Format(dwFlags, lpSource, dwMessageId, dwLanguageId, lpBuffer, nSize, Arguments);
    } catch (const std::bad_alloc&) {
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
}

#endif
