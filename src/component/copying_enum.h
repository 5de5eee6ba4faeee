// The one enumerator of the library: hands out copies of the records of an
// array it owns, with the standard Next/Skip/Reset/Clone.
//
// The array is given once (Init) and freed when the last enumerator over it
// is released; Clone shares it and keeps its source alive, at the same
// position. An enumerator given no array answers Next with E_FAIL.
//
// The records may instead come from a list that its owner keeps growing
// (Records: HasArray, Count and operator[] like OwnedRecords, handed over
// with Share): the enumerator then sees what is appended after it was made,
// and a list that shrank below its position simply has nothing left.
#pragma once
#include <memory>
#include <type_traits>

#include "component/com_object.h"

namespace ostrel {

// Copy policy of plain records: a byte copy, nothing to free.
template <class Item>
struct PlainCopy {
    static HRESULT copy(Item* to, const Item* from) {
        *to = *from;
        return S_OK;
    }
    static void init(Item*) {}
    static void destroy(Item*) {}
};

// The records an enumerator owns; destroyed item by item with the policy.
template <class Item, class Copy>
class OwnedRecords {
public:
    OwnedRecords(std::unique_ptr<Item[]> items, ULONG count) : items_(std::move(items)), count_(items_ ? count : 0) {}
    ~OwnedRecords() {
        for (ULONG i = 0; i < count_; ++i) Copy::destroy(&items_[i]);
    }
    OwnedRecords(const OwnedRecords&) = delete;
    OwnedRecords& operator=(const OwnedRecords&) = delete;

    bool HasArray() const { return items_ != nullptr; }
    ULONG Count() const { return count_; }
    const Item& operator[](ULONG i) const { return items_[i]; }

private:
    std::unique_ptr<Item[]> items_;
    ULONG count_;
};

template <class EnumInterface, const IID* EnumIid, class Item, class Copy = PlainCopy<Item>,
          class Records = OwnedRecords<Item, Copy>>
class CopyingEnum final : public ComObject<CopyingEnum<EnumInterface, EnumIid, Item, Copy, Records>, EnumInterface> {
    using Self = CopyingEnum<EnumInterface, EnumIid, Item, Copy, Records>;

public:
    static std::span<const InterfaceEntry<Self>> InterfaceTable() {
        static const InterfaceEntry<Self> table[] = {Entry<Self, EnumInterface>(*EnumIid)};
        return table;
    }

    CopyingEnum() = default;
    CopyingEnum(std::shared_ptr<const Records> records, ULONG position, IUnknown* source)
        : records_(std::move(records)), position_(position), source_(source) {
        if (source_) source_->AddRef();
    }
    ~CopyingEnum() override {
        if (source_) source_->Release();
    }

    // Takes the array over; a null array stands for "no array at all".
    void Init(std::unique_ptr<Item[]> items, ULONG count)
        requires std::is_same_v<Records, OwnedRecords<Item, Copy>>
    {
        records_ = std::make_shared<const OwnedRecords<Item, Copy>>(std::move(items), count);
        position_ = 0;
    }

    // Reads a list its owner keeps, from its first record.
    void Share(std::shared_ptr<const Records> records) {
        records_ = std::move(records);
        position_ = 0;
    }

    STDMETHODIMP Next(ULONG wanted, Item* out, ULONG* fetched) override {
        if (!out || (!fetched && wanted != 1)) return E_POINTER;
        if (fetched) *fetched = 0;
        if (!records_ || !records_->HasArray()) return E_FAIL;
        ULONG available = Remaining();
        ULONG n = wanted < available ? wanted : available;
        for (ULONG i = 0; i < n; ++i) {
            Copy::init(&out[i]);
            HRESULT hr = Copy::copy(&out[i], &(*records_)[position_ + i]);
            if (FAILED(hr)) {
                // Nothing half-delivered: undo the copies made so far.
                for (ULONG j = 0; j <= i; ++j) Copy::destroy(&out[j]);
                return hr;
            }
        }
        position_ += n;
        if (fetched) *fetched = n;
        return n == wanted ? S_OK : S_FALSE;
    }

    STDMETHODIMP Skip(ULONG count) override {
        ULONG available = Remaining();
        if (count > available) {
            position_ += available;
            return S_FALSE;
        }
        position_ += count;
        return S_OK;
    }

    STDMETHODIMP Reset() override {
        position_ = 0;
        return S_OK;
    }

    STDMETHODIMP Clone(EnumInterface** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        // The clone keeps this enumerator alive as long as it lives.
        Self* clone = Self::New(records_, position_, static_cast<IUnknown*>(static_cast<EnumInterface*>(this)));
        if (!clone) return E_OUTOFMEMORY;
        *out = clone;
        return S_OK;
    }

private:
    ULONG Remaining() const {
        ULONG count = records_ ? records_->Count() : 0;
        return count > position_ ? count - position_ : 0;
    }

    std::shared_ptr<const Records> records_;
    ULONG position_ = 0;
    IUnknown* source_ = nullptr;
};

}  // namespace ostrel
