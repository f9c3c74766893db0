#include "support/management_double.h"

namespace tandor::test {
namespace {

using Script = ManagementDouble::Script;

// The service's interfaces, each up to the method that the library calls.
class WbemClassObject : public NotAsked<1> {
public:
    static const IID& Id() { return __uuidof(IWbemClassObject); }
    virtual HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG, VARIANT* value, CIMTYPE*, LONG*) = 0;
};
class EnumWbemClassObject : public NotAsked<1> {
public:
    static const IID& Id() { return __uuidof(IEnumWbemClassObject); }
    virtual HRESULT STDMETHODCALLTYPE Next(LONG, ULONG, WbemClassObject** row, ULONG* count) = 0;
};
class WbemServices : public NotAsked<17> {
public:
    static const IID& Id() { return __uuidof(IWbemServices); }
    virtual HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG, IWbemContext*,
                                                EnumWbemClassObject** rows) = 0;
};

class RowObject final : public ComObject<WbemClassObject> {
public:
    RowObject(Row row, bool number) : row_(std::move(row)), number_(number) {}
    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG, VARIANT* value, CIMTYPE*, LONG*) override {
        const auto column = row_.find(name);
        if (column == row_.end()) return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
        ::VariantInit(value);
        value->vt = number_ ? VT_I4 : column->second ? VT_BSTR : VT_NULL;
        if (column->second && !number_) value->bstrVal = ::SysAllocString(column->second->c_str());
        return WBEM_S_NO_ERROR;
    }

private:
    Row row_;
    bool number_;
};

class Enumerator final : public Scripted<Script, EnumWbemClassObject> {
public:
    using Scripted::Scripted;
    HRESULT STDMETHODCALLTYPE Next(LONG, ULONG, WbemClassObject** row, ULONG* count) override {
        *count = 0;
        if (script_->next != S_OK) return script_->next;
        if (at_ == script_->rows.size()) return WBEM_S_FALSE;
        *row = new RowObject(script_->rows[at_++], script_->number_instead);
        *count = 1;
        return WBEM_S_NO_ERROR;
    }

private:
    std::size_t at_ = 0;
};

// Takes the security that callers set on a proxy, as the real service's proxy does.
class Security : public Answering<IClientSecurity> {
public:
    TANDOR_NOT_ASKED(QueryBlanket, IUnknown*, DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**, DWORD*)
    TANDOR_NOT_ASKED(CopyProxy, IUnknown*, IUnknown**)
};

class Services final : public Scripted<Script, WbemServices, Security> {
public:
    Services(std::shared_ptr<Script> script, std::wstring space)
        : Scripted(std::move(script)), space_(std::move(space)) {}
    HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG, IWbemContext*,
                                        EnumWbemClassObject** rows) override {
        script_->asked.push_back(space_ + L"|" + language + L"|" + query);
        if (script_->query != S_OK) return script_->query;
        *rows = new Enumerator(script_);
        return WBEM_S_NO_ERROR;
    }
    HRESULT STDMETHODCALLTYPE SetBlanket(IUnknown*, DWORD, DWORD, OLECHAR*, DWORD, DWORD, void*, DWORD) override {
        ++script_->blankets;
        return S_OK;
    }

private:
    std::wstring space_;
};

class Locator final : public Scripted<Script, Answering<IWbemLocator>> {
public:
    using Scripted::Scripted;
    HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR space, const BSTR, const BSTR, const BSTR, LONG, const BSTR,
                                            IWbemContext*, IWbemServices** services) override {
        if (script_->connect != S_OK) return script_->connect;
        *services = reinterpret_cast<IWbemServices*>(static_cast<WbemServices*>(new Services(script_, space)));
        return WBEM_S_NO_ERROR;
    }
};

}  // namespace

ManagementDouble::ManagementDouble(std::vector<Row> rows) {
    script_->rows = std::move(rows);
    locator_ = std::make_unique<ComDouble>(__uuidof(WbemLocator), Creating<Locator>(script_));
}

ManagementDouble::~ManagementDouble() = default;

int ManagementDouble::Live() { return Locator::Live() + Services::Live() + Enumerator::Live() + RowObject::Live(); }

}  // namespace tandor::test
