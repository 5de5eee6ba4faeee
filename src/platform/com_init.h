// Whether the calling thread has entered the component runtime, for the
// services that refuse to work before CoInitialize.
#pragma once

namespace ostrel_platform {

bool ThreadInitialized();

}  // namespace ostrel_platform
