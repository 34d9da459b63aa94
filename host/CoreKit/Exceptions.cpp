#include <CoreKit/Exceptions.h>

ZKException::ZKException(std::string_view text, TEST_STATUS status)
    : ZKException(text, status, ZK_EXCEPTION_MSG)
{
}

ZKException::ZKException(std::string_view text, TEST_STATUS status, const char* defaultText)
    : std::runtime_error(text.empty() ? std::string(defaultText) : std::string(text))
    , m_Status(status)
{
}

ZKException::~ZKException() = default;

ZKParseTreeException::ZKParseTreeException(std::string_view text, TEST_STATUS status)
    : ZKException(text, status, PARSE_TREE_EXCEPTION_DEFAULT_MSG)
{
}

ZKParseTreeException::~ZKParseTreeException() = default;

ZKRunTimeException::ZKRunTimeException(std::string_view text, TEST_STATUS status)
    : ZKException(text, status, RUN_TIME_EXCEPTION_DEFAULT_MSG)
{
}

ZKRunTimeException::~ZKRunTimeException() = default;

ZKDOMDocException::ZKDOMDocException(std::string_view text, TEST_STATUS status)
    : ZKException(text, status, DOM_DOC_EXCEPTION_DEFAULT_MSG)
{
}

ZKDOMDocException::~ZKDOMDocException() = default;

CTestSuiteException::CTestSuiteException(std::string_view text, TEST_STATUS status)
    : ZKDOMDocException(text, status, TEST_SUITE_EXCEPTION_DEFAULT_MSG)
{
}

CTestSuiteException::~CTestSuiteException() = default;

ZKUserAbort::ZKUserAbort(std::string_view text)
    : m_Text(text)
{
}

ZKUserAbort::~ZKUserAbort() = default;
