// Export marker of the Linux platform layer: its functions are the only
// symbols libOstrelPlatform.so makes visible, like the exports of the
// platform's own system libraries.
#pragma once

#if defined(OSTREL_PLATFORM_BUILD)
#define OSTREL_PLATFORM_API __attribute__((visibility("default")))
#else
#define OSTREL_PLATFORM_API
#endif

#ifdef __cplusplus
#define OSTREL_PLATFORM_FN extern "C" OSTREL_PLATFORM_API
#else
#define OSTREL_PLATFORM_FN extern OSTREL_PLATFORM_API
#endif
