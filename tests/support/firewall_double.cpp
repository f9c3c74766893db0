#include "support/firewall_double.h"

#include <windows.h>

#include <netfw.h>

#include <algorithm>

namespace tandor::test {
namespace {

using Script = FirewallDouble::Script;

std::wstring Visible(std::wstring_view text) { return std::wstring(text.substr(0, text.find(L'\0'))); }
std::wstring Whole(BSTR text) { return {text, ::SysStringLen(text)}; }
std::wstring Shown(BSTR text) { return Visible(Whole(text)) + L"/" + std::to_wstring(::SysStringLen(text)); }
std::wstring NameOf(const FirewallDouble::Rule& rule) {
    const auto name = rule.texts.find(L"Name");
    return name == rule.texts.end() ? L"" : Visible(name->second);
}
auto FindRule(Script& script, BSTR name) {
    return std::find_if(script.rules.begin(), script.rules.end(),
                        [&](const auto& rule) { return NameOf(rule) == Visible(Whole(name)); });
}

// Whether a call goes well, without a record of it.
HRESULT Status(Script& script, const std::wstring& call) {
    if (script.fail_at > 0 && --script.fail_at == 0) {
        script.failed = call;
        return E_FAIL;
    }
    const auto failing = script.failing.find(call);
    return failing == script.failing.end() ? S_OK : failing->second;
}

HRESULT Answer(Script& script, const std::wstring& call, const std::wstring& value = {}) {
    script.asked.push_back(value.empty() ? call : call + L" " + value);
    return Status(script, call);
}

template <class Interface>
class DispatchStub : public Answering<Interface> {
public:
    TANDOR_NOT_ASKED(GetTypeInfoCount, UINT*)
    TANDOR_NOT_ASKED(GetTypeInfo, UINT, LCID, ITypeInfo**)
    TANDOR_NOT_ASKED(GetIDsOfNames, REFIID, LPOLESTR*, UINT, LCID, DISPID*)
    TANDOR_NOT_ASKED(Invoke, DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
};

// Both accessors of a property.
#define TANDOR_PROPERTY(name, type)                                                              \
    HRESULT STDMETHODCALLTYPE get_##name(type* value) override { return Get(L"" #name, value); } \
    HRESULT STDMETHODCALLTYPE put_##name(type value) override { return Put(L"" #name, value); }

class RuleObject final : public Scripted<Script, DispatchStub<INetFwRule>> {
public:
    explicit RuleObject(std::shared_ptr<Script> script, FirewallDouble::Rule data = {})
        : Scripted(std::move(script)), data_(std::move(data)) {}
    [[nodiscard]] const FirewallDouble::Rule& Data() const { return data_; }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = nullptr;
        const HRESULT status = iid == Id() ? Status(*script_, L"INetFwRule") : S_OK;
        return FAILED(status) ? status : Scripted::QueryInterface(iid, object);
    }

    TANDOR_PROPERTY(Name, BSTR)
    TANDOR_PROPERTY(Description, BSTR)
    TANDOR_PROPERTY(ApplicationName, BSTR)
    TANDOR_PROPERTY(ServiceName, BSTR)
    TANDOR_PROPERTY(Protocol, LONG)
    TANDOR_PROPERTY(LocalPorts, BSTR)
    TANDOR_PROPERTY(RemotePorts, BSTR)
    TANDOR_PROPERTY(LocalAddresses, BSTR)
    TANDOR_PROPERTY(RemoteAddresses, BSTR)
    TANDOR_PROPERTY(IcmpTypesAndCodes, BSTR)
    TANDOR_PROPERTY(Direction, NET_FW_RULE_DIRECTION)
    TANDOR_PROPERTY(Interfaces, VARIANT)
    TANDOR_PROPERTY(InterfaceTypes, BSTR)
    TANDOR_PROPERTY(Enabled, VARIANT_BOOL)
    TANDOR_PROPERTY(Grouping, BSTR)
    TANDOR_PROPERTY(Profiles, LONG)
    TANDOR_PROPERTY(EdgeTraversal, VARIANT_BOOL)
    TANDOR_PROPERTY(Action, NET_FW_ACTION)

private:
    static HRESULT Get(const wchar_t*, VARIANT*) { return E_NOTIMPL; }
    HRESULT Put(const std::wstring& property, const VARIANT&) { return Answer(*script_, L"put_" + property); }
    HRESULT Get(const wchar_t* property, BSTR* text) {
        const auto found = data_.texts.find(property);
        if (found == data_.texts.end()) return E_NOTIMPL;
        if (FAILED(Status(*script_, std::wstring(L"get_") + property))) return E_FAIL;
        *text = ::SysAllocStringLen(found->second.data(), static_cast<UINT>(found->second.size()));
        return S_OK;
    }
    HRESULT Put(const std::wstring& property, BSTR text) {
        data_.texts[property] = Whole(text);
        return Answer(*script_, L"put_" + property, Shown(text));
    }
    template <class Value>
    HRESULT Get(const wchar_t* property, Value* value) {
        const auto found = data_.numbers.find(property);
        if (found == data_.numbers.end()) return E_NOTIMPL;
        if (FAILED(Status(*script_, std::wstring(L"get_") + property))) return E_FAIL;
        *value = static_cast<Value>(found->second);
        return S_OK;
    }
    template <class Value>
    HRESULT Put(const std::wstring& property, Value value) {
        data_.numbers[property] = static_cast<long>(value);
        return Answer(*script_, L"put_" + property, std::to_wstring(static_cast<long>(value)));
    }

    FirewallDouble::Rule data_;
};

// Walks the rules as they are at the moment of each step, so that a removal during the walk makes it pass over one.
class Entries final : public Scripted<Script, Answering<IEnumVARIANT>> {
public:
    using Scripted::Scripted;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = nullptr;
        const HRESULT status = iid == Id() ? Status(*script_, L"IEnumVARIANT") : S_OK;
        return FAILED(status) ? status : Scripted::QueryInterface(iid, object);
    }
    HRESULT STDMETHODCALLTYPE Next(ULONG, VARIANT* entry, ULONG* count) override {
        *count = 0;
        if (script_->on_entry) script_->on_entry();
        if (FAILED(Status(*script_, L"Next"))) return E_FAIL;
        if (at_ >= script_->rules.size()) return S_FALSE;
        *count = 1;
        if (at_ == script_->odd_entry) {
            entry->vt = VT_I4;
            entry->lVal = 7;
        } else {
            entry->vt = VT_DISPATCH;
            entry->pdispVal = new RuleObject(script_, script_->rules[at_]);
        }
        ++at_;
        return S_OK;
    }
    TANDOR_NOT_ASKED(Skip, ULONG)
    TANDOR_NOT_ASKED(Reset)
    TANDOR_NOT_ASKED(Clone, IEnumVARIANT**)

private:
    std::size_t at_ = 0;
};

class Rules final : public Scripted<Script, DispatchStub<INetFwRules>> {
public:
    using Scripted::Scripted;
    TANDOR_NOT_ASKED(get_Count, LONG*)
    HRESULT STDMETHODCALLTYPE Add(INetFwRule* rule) override {
        const HRESULT status = Answer(*script_, L"Add");
        if (SUCCEEDED(status)) script_->rules.push_back(static_cast<RuleObject*>(rule)->Data());
        return status;
    }
    HRESULT STDMETHODCALLTYPE Remove(BSTR name) override {
        const HRESULT status = Answer(*script_, L"Remove", Visible(Whole(name)));
        const auto found = FindRule(*script_, name);
        if (SUCCEEDED(status) && script_->removes && found != script_->rules.end()) script_->rules.erase(found);
        return status;
    }
    HRESULT STDMETHODCALLTYPE Item(BSTR name, INetFwRule** rule) override {
        *rule = nullptr;
        const HRESULT status = Answer(*script_, L"Item");
        if (FAILED(status) || script_->nothing == L"Item") return status;
        const auto found = FindRule(*script_, name);
        if (found == script_->rules.end()) return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
        *rule = new RuleObject(script_, *found);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** entries) override {
        *entries = nullptr;
        const HRESULT status = Answer(*script_, L"get__NewEnum");
        if (FAILED(status)) return status;
        *entries = new Entries(script_);
        return S_OK;
    }
};

class Policy final : public Scripted<Script, DispatchStub<INetFwPolicy2>> {
public:
    using Scripted::Scripted;
    HRESULT STDMETHODCALLTYPE get_Rules(INetFwRules** rules) override {
        *rules = nullptr;
        const HRESULT status = Answer(*script_, L"get_Rules");
        if (SUCCEEDED(status) && script_->nothing != L"get_Rules") *rules = new Rules(script_);
        return status;
    }
    HRESULT STDMETHODCALLTYPE IsRuleGroupEnabled(LONG profiles, BSTR group, VARIANT_BOOL* enabled) override {
        *enabled = script_->group_enabled;
        return Answer(*script_, L"IsRuleGroupEnabled", std::to_wstring(profiles) + L" " + Shown(group));
    }
    HRESULT STDMETHODCALLTYPE get_IsRuleGroupCurrentlyEnabled(BSTR group, VARIANT_BOOL* enabled) override {
        *enabled = script_->group_enabled;
        return Answer(*script_, L"get_IsRuleGroupCurrentlyEnabled", Shown(group));
    }
    TANDOR_NOT_ASKED(get_CurrentProfileTypes, LONG*)
    TANDOR_NOT_ASKED(get_FirewallEnabled, NET_FW_PROFILE_TYPE2, VARIANT_BOOL*)
    TANDOR_NOT_ASKED(put_FirewallEnabled, NET_FW_PROFILE_TYPE2, VARIANT_BOOL)
    TANDOR_NOT_ASKED(get_ExcludedInterfaces, NET_FW_PROFILE_TYPE2, VARIANT*)
    TANDOR_NOT_ASKED(put_ExcludedInterfaces, NET_FW_PROFILE_TYPE2, VARIANT)
    TANDOR_NOT_ASKED(get_BlockAllInboundTraffic, NET_FW_PROFILE_TYPE2, VARIANT_BOOL*)
    TANDOR_NOT_ASKED(put_BlockAllInboundTraffic, NET_FW_PROFILE_TYPE2, VARIANT_BOOL)
    TANDOR_NOT_ASKED(get_NotificationsDisabled, NET_FW_PROFILE_TYPE2, VARIANT_BOOL*)
    TANDOR_NOT_ASKED(put_NotificationsDisabled, NET_FW_PROFILE_TYPE2, VARIANT_BOOL)
    TANDOR_NOT_ASKED(get_UnicastResponsesToMulticastBroadcastDisabled, NET_FW_PROFILE_TYPE2, VARIANT_BOOL*)
    TANDOR_NOT_ASKED(put_UnicastResponsesToMulticastBroadcastDisabled, NET_FW_PROFILE_TYPE2, VARIANT_BOOL)
    TANDOR_NOT_ASKED(get_ServiceRestriction, INetFwServiceRestriction**)
    TANDOR_NOT_ASKED(EnableRuleGroup, LONG, BSTR, VARIANT_BOOL)
    TANDOR_NOT_ASKED(RestoreLocalFirewallDefaults)
    TANDOR_NOT_ASKED(get_DefaultInboundAction, NET_FW_PROFILE_TYPE2, NET_FW_ACTION*)
    TANDOR_NOT_ASKED(put_DefaultInboundAction, NET_FW_PROFILE_TYPE2, NET_FW_ACTION)
    TANDOR_NOT_ASKED(get_DefaultOutboundAction, NET_FW_PROFILE_TYPE2, NET_FW_ACTION*)
    TANDOR_NOT_ASKED(put_DefaultOutboundAction, NET_FW_PROFILE_TYPE2, NET_FW_ACTION)
    TANDOR_NOT_ASKED(get_LocalPolicyModifyState, NET_FW_MODIFY_STATE*)
};

#undef TANDOR_PROPERTY

template <class Object>
ComDouble::Create FailingOrCreating(const std::shared_ptr<Script>& script, const std::wstring& call) {
    return [script, call](REFIID iid, void** object) {
        const HRESULT status = Status(*script, call);
        return FAILED(status) ? status : Creating<Object>(script)(iid, object);
    };
}

}  // namespace

FirewallDouble::FirewallDouble()
    : policies_(std::make_unique<ComDouble>(__uuidof(NetFwPolicy2), FailingOrCreating<Policy>(script_, L"policy"))),
      rules_(std::make_unique<ComDouble>(__uuidof(NetFwRule), FailingOrCreating<RuleObject>(script_, L"rule"))) {}

FirewallDouble::~FirewallDouble() = default;

std::vector<std::wstring> FirewallDouble::Names() const {
    std::vector<std::wstring> names;
    for (const Rule& rule : script_->rules) names.push_back(NameOf(rule));
    return names;
}

void FirewallDouble::FailEach(const std::function<void()>& begin, const std::function<void()>& work,
                              const std::function<void(const std::wstring& failed)>& check) {
    for (int n = 1;; ++n) {
        begin();
        script_->failed.clear();
        script_->fail_at = n;
        work();
        const bool reached = script_->fail_at == 0;
        script_->fail_at = 0;
        if (!reached) return;
        check(script_->failed);
    }
}

int FirewallDouble::Live() { return Policy::Live() + Rules::Live() + Entries::Live() + RuleObject::Live(); }

FirewallDouble::Rule RuleFor(const std::wstring& name, const std::wstring& program) {
    return {{{L"Name", name}, {L"ApplicationName", program}},
            {{L"Direction", 1}, {L"Action", 1}, {L"Enabled", VARIANT_TRUE}}};
}

}  // namespace tandor::test
