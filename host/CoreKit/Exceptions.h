#pragma once

#include <CoreKit/ArgumentsEnd.h>
#include <CoreKit/CoreKitExport.h>
#include <CoreKit/Format.h>
#include <CoreKit/TestStatus.h>

#include <cstdarg>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

inline constexpr const char* ZK_EXCEPTION_MSG = "Zelkor failure.";
inline constexpr const char* PARSE_TREE_EXCEPTION_DEFAULT_MSG = "Test suite tree failure.";
inline constexpr const char* RUN_TIME_EXCEPTION_DEFAULT_MSG = "Run-time failure.";
inline constexpr const char* DOM_DOC_EXCEPTION_DEFAULT_MSG = "Document failure.";
inline constexpr const char* TEST_SUITE_EXCEPTION_DEFAULT_MSG = "Test suite failure.";

/// Where in the sources a failure was noticed.
struct SSourcePlace
{
    const char* file;
    int line;
    const char* function;
};

/// Base of the house's errors: a text (the class's default text when given an empty one) and a status.
/// The family crosses library borders, so each class has its type information in libCoreKit alone.
class COREKIT_EXPORT ZKException : public std::runtime_error
{
public:
    explicit ZKException(std::string_view text, TEST_STATUS status = TS_ERROR);
    ZKException(const ZKException&) = default;
    ZKException& operator=(const ZKException&) = default;
    ~ZKException() override;

    TEST_STATUS Status() const noexcept { return m_Status; }

    /// What failed, without the place that `ThrowAt` put in front of the whole text.
    const char* Message() const noexcept { return what() + m_MessageBegin; }
    void MessageBegin(std::size_t offset) { m_MessageBegin = offset; }

protected:
    ZKException(std::string_view text, TEST_STATUS status, const char* defaultText);

private:
    TEST_STATUS m_Status;
    std::size_t m_MessageBegin = 0;
};

/// The node tree is not in a state that allows the operation.
class COREKIT_EXPORT ZKParseTreeException : public ZKException
{
public:
    explicit ZKParseTreeException(std::string_view text, TEST_STATUS status = TS_ERROR);
    ZKParseTreeException(const ZKParseTreeException&) = default;
    ZKParseTreeException& operator=(const ZKParseTreeException&) = default;
    ~ZKParseTreeException() override;
};

/// Something went wrong while a suite ran.
class COREKIT_EXPORT ZKRunTimeException : public ZKException
{
public:
    explicit ZKRunTimeException(std::string_view text, TEST_STATUS status = TS_ERROR);
    ZKRunTimeException(const ZKRunTimeException&) = default;
    ZKRunTimeException& operator=(const ZKRunTimeException&) = default;
    ~ZKRunTimeException() override;
};

/// A document could not be read or does not say what it should.
class COREKIT_EXPORT ZKDOMDocException : public ZKException
{
public:
    explicit ZKDOMDocException(std::string_view text, TEST_STATUS status = TS_ERROR);
    ZKDOMDocException(const ZKDOMDocException&) = default;
    ZKDOMDocException& operator=(const ZKDOMDocException&) = default;
    ~ZKDOMDocException() override;

protected:
    using ZKException::ZKException;
};

/// A test suite is wrong: a script error.
class COREKIT_EXPORT CTestSuiteException : public ZKDOMDocException
{
public:
    explicit CTestSuiteException(std::string_view text, TEST_STATUS status = TS_ERROR);
    CTestSuiteException(const CTestSuiteException&) = default;
    CTestSuiteException& operator=(const CTestSuiteException&) = default;
    ~CTestSuiteException() override;
};

/// The operator aborted. Not a `std::exception`, so that code which handles errors does not swallow it.
class COREKIT_EXPORT ZKUserAbort
{
public:
    explicit ZKUserAbort(std::string_view text);
    ZKUserAbort(const ZKUserAbort&) = default;
    ZKUserAbort& operator=(const ZKUserAbort&) = default;
    virtual ~ZKUserAbort();

    const char* what() const noexcept { return m_Text.c_str(); }

private:
    std::string m_Text;
};

/// Throws an exception of the family with a text formatted printf-style; its status is `TS_ERROR`.
template <class Exception>
[[noreturn]] __attribute__((format(printf, 1, 2))) void ThrowFormatted(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    throw Exception(FormatTextV(format, arguments));
}

/// The same for a check that tells where it stands: the text begins with a line that names the place.
template <class Exception>
[[noreturn]] __attribute__((format(printf, 2, 3))) void ThrowAt(const SSourcePlace& place, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const CArgumentsEnd end(arguments);
    const CSafeString message = FormatTextV(format, arguments);
    const CSafeString head = FormatText("\n%s(%d): %s:\n", place.file, place.line, place.function);
    Exception exception(head + message.c_str());
    exception.MessageBegin(std::string_view(head).size());
    throw exception;
}
