// A method of a COM interface that the library under test never calls.
#pragma once

#define TANDOR_NOT_ASKED(name, ...) \
    HRESULT STDMETHODCALLTYPE name(__VA_ARGS__) override { return E_NOTIMPL; }
