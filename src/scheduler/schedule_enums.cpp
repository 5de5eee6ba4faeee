#include "scheduler/schedule_enums.h"

#include <new>

#include "foundation/hresult.h"

namespace ostrel {
namespace {

// Hands the new enumerator's one reference back as IUnknown.
template <class Enum>
IUnknown* AsUnknown(Enum* enumerator) {
    IUnknown* unknown = nullptr;
    const HRESULT hr = enumerator->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown));
    enumerator->Release();
    ThrowIfFailed(hr);
    return unknown;
}

}  // namespace

IUnknown* NewScheduleDataEnum(std::span<const tagScheduleData* const> records) {
    using Copy = copy_t<tagScheduleData>;
    std::unique_ptr<tagScheduleData[]> copies(new (std::nothrow) tagScheduleData[records.size()]);
    if (!copies) throw HRESULT(E_OUTOFMEMORY);
    for (size_t i = 0; i < records.size(); ++i) Copy::init(&copies[i]);
    for (size_t i = 0; i < records.size(); ++i) {
        const HRESULT hr = Copy::copy(&copies[i], records[i]);
        if (FAILED(hr)) {
            for (size_t j = 0; j <= i; ++j) Copy::destroy(&copies[j]);
            throw hr;
        }
    }
    ScheduleDataEnum* enumerator = ScheduleDataEnum::New();
    if (!enumerator) {
        for (size_t i = 0; i < records.size(); ++i) Copy::destroy(&copies[i]);
        throw HRESULT(E_OUTOFMEMORY);
    }
    enumerator->Init(std::move(copies), ULONG(records.size()));
    return AsUnknown(enumerator);
}

IUnknown* NewScheduleMessageEnum(std::shared_ptr<const MessageList> messages) {
    ScheduleMessageEnum* enumerator = ScheduleMessageEnum::New();
    if (!enumerator) throw HRESULT(E_OUTOFMEMORY);
    enumerator->Share(std::move(messages));
    return AsUnknown(enumerator);
}

}  // namespace ostrel
