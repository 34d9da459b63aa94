#pragma once

#include <CoreKit/Exceptions.h>

#include <xercesc/util/OutOfMemoryException.hpp>

#include <exception>
#include <ios>
#include <new>
#include <type_traits>
#include <utility>

/// Tags for handlers that name no exception type: both kinds of exhausted memory at once, and whatever is left over.
struct OutOfMemory
{
};
struct UnknownFailure
{
};

namespace CatchLadderDetail
{
template <class... Handlers>
struct TOverloads : Handlers...
{
    using Handlers::operator()...;
};

/// Whether the ladder can ever reach a handler.
template <class Handler>
inline constexpr bool IsRung = std::is_invocable_v<const Handler&, const std::bad_alloc&> ||
    std::is_invocable_v<const Handler&, const XERCES_CPP_NAMESPACE::OutOfMemoryException&> ||
    std::is_invocable_v<const Handler&, const ZKUserAbort&> ||
    std::is_invocable_v<const Handler&, const std::ios_base::failure&> ||
    std::is_invocable_v<const Handler&, const ZKException&> || std::is_invocable_v<const Handler&, OutOfMemory> ||
    std::is_invocable_v<const Handler&, UnknownFailure>;

template <class Result, class Overloads, class Exception>
Result Handle(const Overloads& handlers, const Exception& exception)
{
    if constexpr (std::is_invocable_v<const Overloads&, const Exception&>)
    {
        return handlers(exception);
    }
    else if constexpr (std::is_invocable_v<const Overloads&, UnknownFailure>)
    {
        return handlers(UnknownFailure{});
    }
    else
    {
        throw;
    }
}

template <class Result, class Overloads, class Exception>
Result HandleMemory(const Overloads& handlers, const Exception& exception)
{
    if constexpr (std::is_invocable_v<const Overloads&, OutOfMemory>)
    {
        return handlers(OutOfMemory{});
    }
    else
    {
        return Handle<Result>(handlers, exception);
    }
}
} // namespace CatchLadderDetail

/// The one catch ladder: runs `body` and hands what it throws to the first handler that fits, tested in the house's
/// order: `std::bad_alloc`, Xerces-C's `OutOfMemoryException`, `ZKUserAbort`, `std::ios_base::failure`, `ZKException`,
/// `std::exception`, anything else. A handler is a callable that takes one of these types, or a tag above; an exception
/// without a handler of its own goes to the handler of its base, else to the one for `UnknownFailure`, else it leaves
/// unchanged. A handler's result stands for the body's; a plain `throw;` inside a handler passes the exception on.
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
    catch (const std::bad_alloc& exception)
    {
        return HandleMemory<Result>(overloads, exception);
    }
    catch (const XERCES_CPP_NAMESPACE::OutOfMemoryException& exception)
    {
        return HandleMemory<Result>(overloads, exception);
    }
    catch (const ZKUserAbort& exception)
    {
        return Handle<Result>(overloads, exception);
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
        return Handle<Result>(overloads, UnknownFailure{});
    }
}
