// The registrar: runs a registry script, the text form in which each class
// states the keys it registers under HKEY_CLASSES_ROOT.
//
//   HKCR
//   {
//       NoRemove CLSID
//       {
//           ForceRemove %CLSID% = s 'VoRules Class'
//           {
//               InprocServer32 = s '%MODULE%'
//               {
//                   val ThreadingModel = s 'Apartment'
//               }
//           }
//       }
//   }
//
// A key is a name (bare or in single quotes), optionally with a default
// value (= s 'text' or = d number) and a block of subkeys and named values
// (val name = ...). Register mode creates every key and sets every value.
// Unregister mode removes each key after its subkeys, unless something not
// written by the script is left below it. ForceRemove keys are created afresh
// (a key already there is removed whole first) and removed whole; NoRemove
// keys are never removed. %NAME% is replaced by the replacement given for
// NAME, %% by a single %.
#pragma once
#include <map>
#include <string>

#include <windows.h>

#include "foundation/text.h"

namespace ostrel {

using Replacements = std::map<WString, WString>;

// S_OK, the registry's failure as an HRESULT (the first one ends a
// registration), or HRESULT_FROM_WIN32(ERROR_INVALID_DATA) for a script that
// does not parse, in which case nothing is changed. Unregistration carries on
// past failures and reports the first.
HRESULT RunRegistryScript(const WString& script, const Replacements& replacements, bool registering);

}  // namespace ostrel
