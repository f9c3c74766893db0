// The firewall's interfaces with every operation answered by E_NOTIMPL, for doubles to derive from.
#pragma once

#include <windows.h>

#include <netfw.h>

#include "support/com_doubles.h"

namespace tandor::test {

template <class Interface>
class DispatchStub : public Answering<Interface> {
public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
};

class FirewallRuleStub : public DispatchStub<INetFwRule> {
public:
    HRESULT STDMETHODCALLTYPE get_Name(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Name(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Description(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Description(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_ApplicationName(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_ApplicationName(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_ServiceName(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_ServiceName(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Protocol(LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Protocol(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_LocalPorts(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_LocalPorts(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_RemotePorts(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_RemotePorts(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_LocalAddresses(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_LocalAddresses(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_RemoteAddresses(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_RemoteAddresses(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_IcmpTypesAndCodes(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_IcmpTypesAndCodes(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Direction(NET_FW_RULE_DIRECTION*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Direction(NET_FW_RULE_DIRECTION) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Interfaces(VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Interfaces(VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_InterfaceTypes(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_InterfaceTypes(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Enabled(VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Enabled(VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Grouping(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Grouping(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Profiles(LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Profiles(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_EdgeTraversal(VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_EdgeTraversal(VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Action(NET_FW_ACTION*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Action(NET_FW_ACTION) override { return E_NOTIMPL; }
};

class FirewallPolicyStub : public DispatchStub<INetFwPolicy2> {
public:
    HRESULT STDMETHODCALLTYPE get_CurrentProfileTypes(LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_FirewallEnabled(NET_FW_PROFILE_TYPE2, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_FirewallEnabled(NET_FW_PROFILE_TYPE2, VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_ExcludedInterfaces(NET_FW_PROFILE_TYPE2, VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_ExcludedInterfaces(NET_FW_PROFILE_TYPE2, VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_BlockAllInboundTraffic(NET_FW_PROFILE_TYPE2, VARIANT_BOOL*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE put_BlockAllInboundTraffic(NET_FW_PROFILE_TYPE2, VARIANT_BOOL) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_NotificationsDisabled(NET_FW_PROFILE_TYPE2, VARIANT_BOOL*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE put_NotificationsDisabled(NET_FW_PROFILE_TYPE2, VARIANT_BOOL) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_UnicastResponsesToMulticastBroadcastDisabled(NET_FW_PROFILE_TYPE2,
                                                                               VARIANT_BOOL*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE put_UnicastResponsesToMulticastBroadcastDisabled(NET_FW_PROFILE_TYPE2,
                                                                               VARIANT_BOOL) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_Rules(INetFwRules**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_ServiceRestriction(INetFwServiceRestriction**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnableRuleGroup(LONG, BSTR, VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsRuleGroupEnabled(LONG, BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RestoreLocalFirewallDefaults() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_DefaultInboundAction(NET_FW_PROFILE_TYPE2, NET_FW_ACTION*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE put_DefaultInboundAction(NET_FW_PROFILE_TYPE2, NET_FW_ACTION) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_DefaultOutboundAction(NET_FW_PROFILE_TYPE2, NET_FW_ACTION*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE put_DefaultOutboundAction(NET_FW_PROFILE_TYPE2, NET_FW_ACTION) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_IsRuleGroupCurrentlyEnabled(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_LocalPolicyModifyState(NET_FW_MODIFY_STATE*) override { return E_NOTIMPL; }
};

}  // namespace tandor::test
