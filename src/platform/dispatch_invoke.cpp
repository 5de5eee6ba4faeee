#ifndef _WIN32
// ITypeInfo::Invoke: late-bound calls through type information.
#include "typelib_objects.h"

namespace ostrel::platform::typelib {

HRESULT InvokeMember(const TypeInfoObject&, void*, MEMBERID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) {
    return E_NOTIMPL;
}

}  // namespace ostrel::platform::typelib

#endif
