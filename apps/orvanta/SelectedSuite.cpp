#include "SelectedSuite.h"

#include <algorithm>

namespace
{
bool Matches(const SSelectedSuite& suite, const std::string& pattern)
{
    return suite.suite->Loaded() &&
        std::find(suite.unmatched.begin(), suite.unmatched.end(), pattern) == suite.unmatched.end();
}
} // namespace

SSelectedSuite LoadSelected(CSession& session, const std::string& file, const std::vector<SSelection>& selections,
                            const SRecordedRuns* again)
{
    SSelectedSuite selected{session.LoadSuite(file), ERerun::All, {}};
    selected.rerun = again ? SelectAgain(*selected.suite, *again) : ERerun::All;
    selected.unmatched = selected.suite->Select(selections);
    return selected;
}

std::vector<SSelectedSuite> LoadAhead(CSession& session, const std::vector<std::string>& files,
                                      const std::vector<SSelection>& selections, const SRecordedRuns* again)
{
    std::vector<SSelectedSuite> suites;
    for (std::size_t i = 0; !selections.empty() && i < files.size(); ++i)
    {
        suites.push_back(LoadSelected(session, files[i], selections, again));
    }
    return suites;
}

bool IsLeftOut(const SSelectedSuite& suite, const std::vector<SSelection>& selections)
{
    const auto isSelect = [](const SSelection& selection) { return selection.select; };
    return std::any_of(selections.begin(), selections.end(), isSelect) &&
        std::none_of(selections.begin(), selections.end(),
                     [&](const SSelection& selection)
                     { return selection.select && Matches(suite, selection.pattern); });
}

bool ReportUnmatched(const std::vector<SSelectedSuite>& suites, const std::vector<SSelection>& selections,
                     const std::function<void(const std::string&)>& report)
{
    bool isReported = false;
    const bool isLoaded =
        std::any_of(suites.begin(), suites.end(), [](const SSelectedSuite& suite) { return suite.suite->Loaded(); });
    for (const SSelection& selection : selections)
    {
        const bool isMatched =
            std::any_of(suites.begin(), suites.end(),
                        [&](const SSelectedSuite& suite) { return Matches(suite, selection.pattern); });
        if (isLoaded && !isMatched)
        {
            report("no node matches '" + selection.pattern + "'; 'orvanta list' shows the nodes");
            isReported = true;
        }
    }
    return isReported;
}
