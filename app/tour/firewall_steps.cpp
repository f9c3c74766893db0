#include <fmt/format.h>

#include "app/firewall_view.h"
#include "app/tour.h"
#include "base/utf.h"
#include "tandor/firewall.h"
#include "tandor/rehearsal.h"

namespace tandor::app {

void TourFirewall(TourReport& report) {
    const FirewallView view = LookAtFirewall();
    report.Result("the user's firewall plan", PlanText(view.plan), view.plan);
    if (!view.trouble.empty()) {
        report.Result("rules", "not read, no firewall answers here: " + view.trouble);
    } else {
        report.Result("rules", std::to_string(view.rules.size()), view.rules.size());
        const Rehearsal rehearsal;
        Expect(Firewall().AddFirewallRules() >= 0, "putting the rule in place cannot be rehearsed");
        for (const std::wstring& call : rehearsal.Calls()) report.Result("would call", Utf8FromWideLossy(call));
    }
    report.Result("needs administrator rights", "adding and removing rules, so the tour changes none");
}

}  // namespace tandor::app
