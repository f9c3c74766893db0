// A firewall for tests: keeps rules in memory, keeps what it was asked, and fails where it is told to.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/com_doubles.h"

namespace tandor::test {

class FirewallDouble {
public:
    // A rule by its properties, as "Name" or "Direction"; texts as they were given, zeros included.
    struct Rule {
        std::map<std::wstring, std::wstring> texts;
        std::map<std::wstring, long> numbers;
    };

    struct Script {
        std::vector<Rule> rules;
        std::vector<std::wstring> asked;  // calls, as "put_Name PVAMessageCenter/500" (text, length) or "Add"
        std::map<std::wstring, HRESULT>
            failing;      // by call, as "Add" or "put_Name"; "policy" and "rule" for the objects
        int fail_at = 0;  // the n-th call from now on fails with E_FAIL, reading of rules and of interfaces included
        std::wstring failed;               // which that was
        std::wstring nothing;              // this call succeeds and hands out nothing
        std::size_t odd_entry = SIZE_MAX;  // this entry of the walk is a number instead of a rule
        std::function<void()> on_entry;    // called before each entry
        bool removes = true;               // otherwise a removal succeeds and does nothing
        VARIANT_BOOL group_enabled = VARIANT_FALSE;
    };

    FirewallDouble();
    ~FirewallDouble();

    Script& operator*() { return *script_; }
    Script* operator->() { return script_.get(); }
    // The calls since the last time.
    std::vector<std::wstring> Asked() { return std::exchange(script_->asked, {}); }
    // The names of the rules, up to their first zero.
    [[nodiscard]] std::vector<std::wstring> Names() const;
    // Does `work` again and again, each time with another one of its calls failing, until none is left that could.
    // `begin` comes before each, `check` after it with the name of the call.
    void FailEach(const std::function<void()>& begin, const std::function<void()>& work,
                  const std::function<void(const std::wstring& failed)>& check);
    // Objects of the firewall that are still referenced.
    static int Live();

private:
    std::shared_ptr<Script> script_ = std::make_shared<Script>();
    std::unique_ptr<ComDouble> policies_;
    std::unique_ptr<ComDouble> rules_;
};

// An inbound rule for a program.
FirewallDouble::Rule RuleFor(const std::wstring& name, const std::wstring& program);

}  // namespace tandor::test
