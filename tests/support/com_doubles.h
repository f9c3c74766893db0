// COM classes that the tests serve in place of the system's, by the manifest of their program.
#pragma once

#include <windows.h>

#include <objbase.h>

#include <atomic>
#include <functional>
#include <memory>
#include <type_traits>

#include "tandor/uncopyable.h"

namespace tandor::test {

// While it lives, objects of the class come from `create`, on every thread and in every apartment of this program.
// Without one the class is not available. `create` hands out a reference to the interface asked for. Throws when the
// program does not serve the class: the system's own would answer then, and tests would fail far from the cause.
class ComDouble : UnCopyable {
public:
    using Create = std::function<HRESULT(REFIID iid, void** object)>;

    ComDouble(REFCLSID clsid, Create create);
    ~ComDouble();

private:
    void Register(Create create) const;
    CLSID clsid_;
};

// Makes the base `Interfaces` (COM interfaces, or classes derived from one each) an object: reference count,
// QueryInterface. Live() counts the objects of one kind, so that a test sees what was not released.
template <class... Interfaces>
class ComObject : public Interfaces... {
public:
    ComObject() { ++Live(); }
    virtual ~ComObject() { --Live(); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = nullptr;
        (Offer<Interfaces>(iid, object), ...);
        if (*object == nullptr) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&references_)); }
    ULONG STDMETHODCALLTYPE Release() override {
        const LONG left = ::InterlockedDecrement(&references_);
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

    static std::atomic<int>& Live() {
        static std::atomic<int> live{0};
        return live;
    }

private:
    template <class Interface>
    void Offer(REFIID iid, void** object) {
        if (*object == nullptr && (iid == Interface::Id() || iid == __uuidof(IUnknown)))
            *object = static_cast<Interface*>(this);
    }
    LONG references_ = 1;
};

// An object that acts by a script, which it shares with the test.
template <class Script, class... Interfaces>
class Scripted : public ComObject<Interfaces...> {
public:
    explicit Scripted(std::shared_ptr<Script> script) : script_(std::move(script)) {}

protected:
    std::shared_ptr<Script> script_;
};

// For a class of which each object is made with `script`.
template <class Object, class Script>
ComDouble::Create Creating(std::shared_ptr<Script> script) {
    return [script](REFIID iid, void** object) {
        auto* const made = new Object(script);
        const HRESULT status = made->QueryInterface(iid, object);
        made->Release();
        return status;
    };
}

// A method of an interface that the library never calls.
#define TANDOR_NOT_ASKED(name, ...) \
    HRESULT STDMETHODCALLTYPE name(__VA_ARGS__) override { return E_NOTIMPL; }

// The base for an interface that answers QueryInterface under its own identifier.
template <class Interface>
class Answering : public Interface {
public:
    static const IID& Id() { return __uuidof(Interface); }
};

// So many methods that the library never calls, in the place of an interface's first ones. A double may end behind the
// last one that it does call.
template <std::size_t kCount>
class NotAsked : public NotAsked<kCount - 1> {
public:
    using NotAsked<kCount - 1>::Slot;
    virtual HRESULT STDMETHODCALLTYPE Slot(std::integral_constant<std::size_t, kCount>) { return E_NOTIMPL; }
};
template <>
class NotAsked<0> : public IUnknown {
public:
    void Slot() {}
};

}  // namespace tandor::test
