// _com_error: the exception object the platform's compiler-support library
// throws for a failed HRESULT, carrying the code and, optionally, the error
// information that came with it.
#pragma once
#include "oaidl.h"

class _com_error {
public:
    explicit _com_error(HRESULT hr, IErrorInfo* perrinfo = nullptr, bool fAddRef = false) noexcept
        : hr_(hr), info_(perrinfo) {
        if (info_ && fAddRef) info_->AddRef();
    }
    _com_error(const _com_error& that) noexcept : hr_(that.hr_), info_(that.info_) {
        if (info_) info_->AddRef();
    }
    _com_error& operator=(const _com_error& that) noexcept {
        if (this != &that) {
            if (that.info_) that.info_->AddRef();
            if (info_) info_->Release();
            hr_ = that.hr_;
            info_ = that.info_;
        }
        return *this;
    }
    virtual ~_com_error() {
        if (info_) info_->Release();
    }

    HRESULT Error() const noexcept { return hr_; }
    // The caller owns the returned reference, as with the platform's class.
    IErrorInfo* ErrorInfo() const noexcept {
        if (info_) info_->AddRef();
        return info_;
    }

private:
    HRESULT hr_;
    IErrorInfo* info_;
};
