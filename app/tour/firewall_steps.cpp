#include <fmt/format.h>

#include "app/firewall_view.h"
#include "app/tour.h"
#include "base/utf.h"

namespace tandor::app {

void TourFirewall(TourReport& report) {
    const FirewallView view = LookAtFirewall();
    report.Result("the user's firewall plan", PlanText(view.plan), view.plan);
    if (!view.trouble.empty()) {
        report.Result("rules", "not read, no firewall answers here: " + view.trouble);
    } else {
        report.Result("rules", std::to_string(view.rules.size()), view.rules.size());
        const FirewallRule wanted = RuleForThisProgram(Utf8FromWide(kMessageCentreRule), "");
        for (const FirewallChange& change : ChangesOfAdding(view.rules, wanted, IsPlanOn(view.plan))) {
            report.Result(change.adds ? "would add" : "would remove", Utf8FromWideLossy(change.rule.name));
        }
    }
    report.Result("needs administrator rights", "adding and removing rules, so the tour changes none");
}

}  // namespace tandor::app
