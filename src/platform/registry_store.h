#pragma once
#ifndef _WIN32
// The registry's contents and the one file that holds them.
//
// Every change runs as a transaction on the file: take the file lock, read
// the file, change the tree in memory, write the whole tree to a file beside
// it and rename that over the old one. A crash or a full disk in the middle
// therefore leaves the old file as it was, and two processes changing the
// registry at once take turns instead of losing each other's keys.
#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ostrel::platform::registry {

using Name = std::u16string;

// Names compare without regard to case, as the platform's do; they keep the
// case they were created with.
struct NameLess {
    bool operator()(const Name& a, const Name& b) const;
};

struct Value {
    Name name;
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

struct Key {
    Name name;
    std::map<Name, Value, NameLess> values;
    std::map<Name, std::unique_ptr<Key>, NameLess> subkeys;
};

// A key's place: its root's name ("HKCR", "HKCU", "HKLM") and then each
// key name down from it.
using Path = std::vector<Name>;

// Splits a subkey text at its backslashes, dropping empty parts.
Path SplitSubKey(LPCWSTR subKey);

// The key at path below the tree's top, or null.
Key* Find(Key& top, const Path& path);

// Runs change on the registry. A reading transaction shares the lock and
// writes nothing; a writing one writes the file only when change returns
// ERROR_SUCCESS. Returns change's result, or the code of a failure to read
// (ERROR_BADDB for a damaged or foreign file) or to write the file.
LSTATUS Transact(bool write, const std::function<LSTATUS(Key& top)>& change);

// Where the registry file lives: $OSTREL_REGISTRY when set, else
// $XDG_CONFIG_HOME/ostrel/registry, else ~/.config/ostrel/registry.
std::string FilePath();

}  // namespace ostrel::platform::registry

#endif
