#pragma once
#ifndef _WIN32
// The resources a module carries, in the form a Linux module can hold them.
//
// The platform keeps message tables, type libraries and registry scripts
// inside module files, found by type and number. A Linux shared object has no
// resource section, so each module that carries resources exports one C
// array, OstrelResourceTable, ended by an entry whose type is null. Build
// steps that generate a module's resources include this header and nothing
// else, so it stays free of the platform headers.

#ifdef __cplusplus
extern "C" {
#endif

typedef struct OstrelResourceEntry {
    const char* type;    // one of the OSTREL_RT_* names; null ends the table
    unsigned id;         // the resource's number within its type
    const void* data;    // the bytes, in the platform's own format for the type
    unsigned long size;  // their count
} OstrelResourceEntry;

#ifdef __cplusplus
}
#endif

// Resource types, named as the platform's resource compiler names them.
#define OSTREL_RT_MESSAGETABLE "MESSAGETABLE"
#define OSTREL_RT_TYPELIB "TYPELIB"
#define OSTREL_RT_REGISTRY "REGISTRY"
#define OSTREL_RT_STRING "STRING"
#define OSTREL_RT_VERSION "VERSION"

// The symbol the platform looks for in a module.
#define OSTREL_RESOURCE_TABLE_SYMBOL "OstrelResourceTable"

// Defines a module's table; the symbol must be visible even when the module
// hides everything else. Every module defines the same name, so the table
// lives in a section of its own: AddressSanitizer leaves such globals alone
// instead of reporting two loaded modules' tables as one symbol defined twice.
#define OSTREL_RESOURCE_TABLE_ATTRIBUTES \
    __attribute__((visibility("default"), section(".data.rel.ro.ostrel_resources")))
#ifdef __cplusplus
#define OSTREL_RESOURCE_TABLE extern "C" OSTREL_RESOURCE_TABLE_ATTRIBUTES const OstrelResourceEntry OstrelResourceTable[]
#else
#define OSTREL_RESOURCE_TABLE OSTREL_RESOURCE_TABLE_ATTRIBUTES const OstrelResourceEntry OstrelResourceTable[]
#endif
#endif
