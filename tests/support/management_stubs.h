// The management service's interfaces with every operation answered by E_NOTIMPL, for doubles to derive from.
#pragma once

#include <windows.h>

#include <wbemidl.h>

#include "support/com_doubles.h"
#include "support/com_stub.h"

namespace tandor::test {

class WbemClassObjectStub : public Answering<IWbemClassObject> {
public:
    TANDOR_NOT_ASKED(GetQualifierSet, IWbemQualifierSet**)
    TANDOR_NOT_ASKED(Get, LPCWSTR, LONG, VARIANT*, CIMTYPE*, LONG*)
    TANDOR_NOT_ASKED(Put, LPCWSTR, LONG, VARIANT*, CIMTYPE)
    TANDOR_NOT_ASKED(Delete, LPCWSTR)
    TANDOR_NOT_ASKED(GetNames, LPCWSTR, LONG, VARIANT*, SAFEARRAY**)
    TANDOR_NOT_ASKED(BeginEnumeration, LONG)
    TANDOR_NOT_ASKED(Next, LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*)
    TANDOR_NOT_ASKED(EndEnumeration)
    TANDOR_NOT_ASKED(GetPropertyQualifierSet, LPCWSTR, IWbemQualifierSet**)
    TANDOR_NOT_ASKED(Clone, IWbemClassObject**)
    TANDOR_NOT_ASKED(GetObjectText, LONG, BSTR*)
    TANDOR_NOT_ASKED(SpawnDerivedClass, LONG, IWbemClassObject**)
    TANDOR_NOT_ASKED(SpawnInstance, LONG, IWbemClassObject**)
    TANDOR_NOT_ASKED(CompareTo, LONG, IWbemClassObject*)
    TANDOR_NOT_ASKED(GetPropertyOrigin, LPCWSTR, BSTR*)
    TANDOR_NOT_ASKED(InheritsFrom, LPCWSTR)
    TANDOR_NOT_ASKED(GetMethod, LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**)
    TANDOR_NOT_ASKED(PutMethod, LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*)
    TANDOR_NOT_ASKED(DeleteMethod, LPCWSTR)
    TANDOR_NOT_ASKED(BeginMethodEnumeration, LONG)
    TANDOR_NOT_ASKED(NextMethod, LONG, BSTR*, IWbemClassObject**, IWbemClassObject**)
    TANDOR_NOT_ASKED(EndMethodEnumeration)
    TANDOR_NOT_ASKED(GetMethodQualifierSet, LPCWSTR, IWbemQualifierSet**)
    TANDOR_NOT_ASKED(GetMethodOrigin, LPCWSTR, BSTR*)
};

class WbemServicesStub : public Answering<IWbemServices> {
public:
    TANDOR_NOT_ASKED(OpenNamespace, const BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**)
    TANDOR_NOT_ASKED(CancelAsyncCall, IWbemObjectSink*)
    TANDOR_NOT_ASKED(QueryObjectSink, LONG, IWbemObjectSink**)
    TANDOR_NOT_ASKED(GetObject, const BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**)
    TANDOR_NOT_ASKED(GetObjectAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    TANDOR_NOT_ASKED(PutClass, IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
    TANDOR_NOT_ASKED(PutClassAsync, IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
    TANDOR_NOT_ASKED(DeleteClass, const BSTR, LONG, IWbemContext*, IWbemCallResult**)
    TANDOR_NOT_ASKED(DeleteClassAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    TANDOR_NOT_ASKED(CreateClassEnum, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    TANDOR_NOT_ASKED(CreateClassEnumAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    TANDOR_NOT_ASKED(PutInstance, IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
    TANDOR_NOT_ASKED(PutInstanceAsync, IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
    TANDOR_NOT_ASKED(DeleteInstance, const BSTR, LONG, IWbemContext*, IWbemCallResult**)
    TANDOR_NOT_ASKED(DeleteInstanceAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    TANDOR_NOT_ASKED(CreateInstanceEnum, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    TANDOR_NOT_ASKED(CreateInstanceEnumAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    TANDOR_NOT_ASKED(ExecQuery, const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    TANDOR_NOT_ASKED(ExecQueryAsync, const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    TANDOR_NOT_ASKED(ExecNotificationQuery, const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    TANDOR_NOT_ASKED(ExecNotificationQueryAsync, const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    TANDOR_NOT_ASKED(ExecMethod, const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemClassObject**,
                     IWbemCallResult**)
    TANDOR_NOT_ASKED(ExecMethodAsync, const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemObjectSink*)
};

class EnumWbemClassObjectStub : public Answering<IEnumWbemClassObject> {
public:
    TANDOR_NOT_ASKED(Reset)
    TANDOR_NOT_ASKED(Next, LONG, ULONG, IWbemClassObject**, ULONG*)
    TANDOR_NOT_ASKED(NextAsync, ULONG, IWbemObjectSink*)
    TANDOR_NOT_ASKED(Clone, IEnumWbemClassObject**)
    TANDOR_NOT_ASKED(Skip, LONG, ULONG)
};

}  // namespace tandor::test
