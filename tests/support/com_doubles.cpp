#include "support/com_doubles.h"

#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>

#include "base/win_apartment.h"
#include "base/win_com_ptr.h"

namespace {

struct Less {
    bool operator()(const CLSID& left, const CLSID& right) const {
        return std::memcmp(&left, &right, sizeof(CLSID)) < 0;
    }
};

std::mutex mutex;
std::map<CLSID, tandor::test::ComDouble::Create, Less> classes;

class Factory final : public tandor::test::ComObject<tandor::test::Answering<IClassFactory>> {
public:
    explicit Factory(tandor::test::ComDouble::Create create) : create_(std::move(create)) {}
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        *object = nullptr;
        return outer != nullptr ? CLASS_E_NOAGGREGATION : create_(iid, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    tandor::test::ComDouble::Create create_;
};

}  // namespace

extern "C" __declspec(dllexport) HRESULT __stdcall DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    *object = nullptr;
    const std::lock_guard lock(mutex);
    const auto found = classes.find(clsid);
    if (found == classes.end()) return CLASS_E_CLASSNOTAVAILABLE;
    Factory* const factory = new Factory(found->second);
    const HRESULT status = factory->QueryInterface(iid, object);
    factory->Release();
    return status;
}

extern "C" __declspec(dllexport) HRESULT __stdcall DllCanUnloadNow() { return S_FALSE; }

namespace tandor::test {

ComDouble::ComDouble(REFCLSID clsid, Create create) : clsid_(clsid) {
    Register(std::move(create));
    const Apartment apartment;
    ComPtr<IClassFactory> factory;
    const HRESULT status =
        ::CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IClassFactory), factory.ReceiveVoid());
    if (SUCCEEDED(status) && Factory::Live() > 0) return;
    Register(nullptr);
    throw std::runtime_error("this program does not serve a COM class of the tests; see its manifest");
}

ComDouble::~ComDouble() { Register(nullptr); }

void ComDouble::Register(Create create) const {
    const std::lock_guard lock(mutex);
    if (create) {
        classes[clsid_] = std::move(create);
    } else {
        classes.erase(clsid_);
    }
}

}  // namespace tandor::test
