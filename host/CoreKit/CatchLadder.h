#pragma once

#include <CoreKit/CoreKitExport.h>
#include <CoreKit/Exceptions.h>

#include <exception>
#include <ios>
#include <new>
#include <type_traits>
#include <utility>

/// Tags for handlers that name no exception type: exhausted memory of either kind, and whatever is left over.
struct SOutOfMemory
{
};
struct SUnknownFailure
{
};

namespace CatchLadderDetail
{
template <class... Handlers>
struct TOverloads : Handlers...
{
    using Handlers::operator()...;
};

/// Whether the exception being handled is Xerces-C's `OutOfMemoryException`.
COREKIT_EXPORT bool IsParserOutOfMemory();

/// Whether the ladder can ever reach a handler.
template <class Handler>
inline constexpr bool IsRung = std::is_invocable_v<const Handler&, const ZKUserAbort&> ||
    std::is_invocable_v<const Handler&, const std::ios_base::failure&> ||
    std::is_invocable_v<const Handler&, const ZKException&> || std::is_invocable_v<const Handler&, SOutOfMemory> ||
    std::is_invocable_v<const Handler&, SUnknownFailure>;

/// Hands an exception to the handler that names its type, else lets it pass on.
template <class Result, class Overloads, class Exception>
Result HandleNamed(const Overloads& handlers, const Exception& exception)
{
    if constexpr (std::is_invocable_v<const Overloads&, const Exception&>)
    {
        return handlers(exception);
    }
    else
    {
        throw;
    }
}

/// The same, with the handler of what is left over behind it.
template <class Result, class Overloads, class Exception>
Result Handle(const Overloads& handlers, const Exception& exception)
{
    if constexpr (std::is_invocable_v<const Overloads&, const Exception&>)
    {
        return handlers(exception);
    }
    else
    {
        return HandleNamed<Result>(handlers, SUnknownFailure{});
    }
}
} // namespace CatchLadderDetail

/// The one catch ladder: runs `body` and hands what it throws to the first handler that fits, tested in the house's
/// order: exhausted memory, `ZKUserAbort`, `std::ios_base::failure`, `ZKException`, `std::exception`, anything else. A
/// handler takes one of these types or a tag above. Exhausted memory and the operator's abort pass on unless a handler
/// names them; any other exception goes to its own handler, else to the one of its base, else to `SUnknownFailure`'s,
/// else it passes on too. One handler that takes `const auto&` gets everything. What a handler returns stands for the
/// body's result; `throw;` in a handler passes the exception on.
template <class Body, class... Handlers>
auto Guarded(Body&& body, Handlers&&... handlers) -> std::invoke_result_t<Body>
{
    using Result = std::invoke_result_t<Body>;
    using namespace CatchLadderDetail;
    static_assert((IsRung<std::decay_t<Handlers>> && ...),
                  "a handler takes one of the ladder's types, by value or const&");
    const TOverloads<std::decay_t<Handlers>...> overloads{std::forward<Handlers>(handlers)...};
    try
    {
        return std::forward<Body>(body)();
    }
    catch (const std::bad_alloc&)
    {
        return HandleNamed<Result>(overloads, SOutOfMemory{});
    }
    catch (const ZKUserAbort& exception)
    {
        return HandleNamed<Result>(overloads, exception);
    }
    catch (const std::ios_base::failure& exception)
    {
        return Handle<Result>(overloads, exception);
    }
    catch (const ZKException& exception)
    {
        return Handle<Result>(overloads, exception);
    }
    catch (const std::exception& exception)
    {
        return Handle<Result>(overloads, exception);
    }
    catch (...)
    {
        return IsParserOutOfMemory() ? HandleNamed<Result>(overloads, SOutOfMemory{})
                                     : HandleNamed<Result>(overloads, SUnknownFailure{});
    }
}
