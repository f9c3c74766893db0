// A management service for tests: answers every query with its rows and keeps what it was asked.
#pragma once

#include <windows.h>

#include <wbemidl.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/com_doubles.h"

namespace tandor::test {

// A column that is not there fails; one without value is NULL.
using Row = std::map<std::wstring, std::optional<std::wstring>>;

class ManagementDouble {
public:
    struct Script {
        std::vector<Row> rows;
        HRESULT connect = S_OK;
        HRESULT query = S_OK;
        HRESULT next = S_OK;              // a failure of the first step through the rows
        bool number_instead = false;      // columns hold numbers
        std::vector<std::wstring> asked;  // "<namespace>|<language>|<query>"
        int blankets = 0;                 // how often the proxy's security was set
    };

    explicit ManagementDouble(std::vector<Row> rows);
    ~ManagementDouble();

    Script& operator*() { return *script_; }
    Script* operator->() { return script_.get(); }
    // Objects of the service that are still referenced.
    static int Live();

private:
    std::shared_ptr<Script> script_ = std::make_shared<Script>();
    std::unique_ptr<ComDouble> locator_;
};

}  // namespace tandor::test
