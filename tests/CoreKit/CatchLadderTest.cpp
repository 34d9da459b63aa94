#include <CoreKit/CatchLadder.h>

#include <gtest/gtest.h>
#include <xercesc/util/OutOfMemoryException.hpp>

#include <functional>
#include <string>
#include <vector>

namespace
{
struct SThrown
{
    const char* name;
    std::function<void()> raise;
};

const std::vector<SThrown>& Kinds()
{
    static const std::vector<SThrown> kinds{
        {"bad_alloc", [] { throw std::bad_alloc(); }},
        {"xerces memory", [] { throw XERCES_CPP_NAMESPACE::OutOfMemoryException(); }},
        {"abort", [] { throw ZKUserAbort("stop"); }},
        {"stream", [] { throw std::ios_base::failure("stream"); }},
        {"house", [] { throw CTestSuiteException("suite"); }},
        {"standard", [] { throw std::runtime_error("standard"); }},
        {"other", [] { throw 7; }},
    };
    return kinds;
}

/// Which handler each kind of exception ends at, in the order of `Kinds`.
template <class... Handlers>
std::vector<std::string> Landings(Handlers... handlers)
{
    std::vector<std::string> landings;
    for (const SThrown& kind : Kinds())
    {
        const auto body = [&]() -> std::string
        {
            kind.raise();
            return "returned";
        };
        try
        {
            landings.push_back(Guarded(body, handlers...));
        }
        catch (...)
        {
            landings.emplace_back("left");
        }
    }
    return landings;
}

const auto onMemory = [](SOutOfMemory) { return std::string("memory"); };
const auto onAbort = [](const ZKUserAbort& e) { return "abort " + std::string(e.what()); };
const auto onStream = [](const std::ios_base::failure&) { return std::string("stream"); };
const auto onHouse = [](const ZKException& e) { return "house " + std::string(e.what()); };
const auto onStandard = [](const std::exception&) { return std::string("standard"); };
const auto onUnknown = [](SUnknownFailure) { return std::string("unknown"); };

using TLandings = std::vector<std::string>;
} // namespace

TEST(CatchLadder, EveryKindGoesToItsOwnHandler)
{
    EXPECT_EQ(Landings(onUnknown, onStandard, onHouse, onStream, onAbort, onMemory),
              (TLandings{"memory", "memory", "abort stop", "stream", "house suite", "standard", "unknown"}));
}

TEST(CatchLadder, KindsWithoutAHandlerFallThrough)
{
    EXPECT_EQ(Landings(onStandard), (TLandings{"left", "left", "left", "standard", "standard", "standard", "left"}));
    EXPECT_EQ(Landings(onMemory, onHouse),
              (TLandings{"memory", "memory", "left", "left", "house suite", "left", "left"}));
    EXPECT_EQ(Landings(onHouse, onUnknown),
              (TLandings{"left", "left", "left", "unknown", "house suite", "unknown", "unknown"}));
    EXPECT_EQ(Landings([](const auto&) { return std::string("any"); }), TLandings(7, "any"));
}

TEST(CatchLadder, HandlerMayPassTheSameExceptionOn)
{
    const auto body = []() -> int { throw CTestSuiteException("kept", TS_FAILED); };
    const auto passOn = [](const ZKException&) -> int { throw; };
    try
    {
        Guarded(body, passOn);
        FAIL() << "nothing thrown";
    }
    catch (const CTestSuiteException& exception)
    {
        EXPECT_STREQ(exception.what(), "kept");
        EXPECT_EQ(exception.Status(), TS_FAILED);
    }
    EXPECT_EQ(Guarded([] { return 3; }, passOn), 3);
}
