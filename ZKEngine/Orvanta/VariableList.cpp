#include <Orvanta/VariableList.h>

#include <CoreKit/Exceptions.h>
#include <CoreKit/Format.h>
#include <HostKit/AppState.h>
#include <HostKit/Logger.h>

namespace
{
bool IsCompatible(const CVariable& variable, EDataType type)
{
    return DataTypeWidth(type) >= DataTypeWidth(variable.Type());
}

void ReportScriptError(bool isThrown, const CSafeString& message)
{
    if (isThrown)
    {
        throw CTestSuiteException(message);
    }
    LogDefault(TS_ERROR, "%s", message.c_str());
}
} // namespace

template <class List>
auto& CVariableList::DoGetVariable(List& list, const QString& name)
{
    const auto found = list.m_Variables.find(name);
    if (found == list.m_Variables.end())
    {
        ThrowFormatted<CTestSuiteException>("Variable does not exist:  %s", qUtf8Printable(name));
    }
    return found->second;
}

const CVariable& CVariableList::GetVariable(const QString& name) const
{
    return DoGetVariable(*this, name);
}

CVariable& CVariableList::GetVariable(const QString& name)
{
    return DoGetVariable(*this, name);
}

CVariableList& CVariableList::operator=(const CVariableList& other)
{
    if (this != &other)
    {
        Clear();
        m_Variables = other.m_Variables;
    }
    return *this;
}

void CVariableList::AddDefine(EDataType type, const char* name, const char* value, const QString& config)
{
    AddVariable(name, CVariable::MakeVariable(type, QString::fromUtf8(value), true, config));
}

void CVariableList::AddLocal(EDataType type, const char* name, const char* value, const QString& config)
{
    AddVariable(name, CVariable::MakeVariable(type, QString::fromUtf8(value), false, config));
}

void CVariableList::AddVariable(const char* name, const CVariable& variable)
{
    if (!name || !m_Variables.emplace(QString::fromUtf8(name), variable).second)
    {
        ThrowFormatted<CTestSuiteException>("Variable already exists:  %s", name ? name : "(null)");
    }
}

bool CVariableList::VariableExists(const QString& name) const
{
    return m_Variables.count(name) != 0;
}

CVariable* CVariableList::GetConfig(const QString& config) const
{
    for (const auto& [name, variable] : m_Variables)
    {
        if (variable.Config() == config)
        {
            return const_cast<CVariable*>(&variable);
        }
    }
    return nullptr;
}

std::uint32_t CVariableList::ExtractValue(const QString& text) const
{
    return VariableExists(text) ? GetLong(text)
                                : CVariable::MakeVariable(DT_LONG, text, true, QString()).View<std::uint32_t>();
}

template <class T>
T CVariableList::ReadVariable(const QString& name, EDataType type) const
{
    CheckValue(name, type);
    return GetVariable(name).View<T>();
}

template <class T>
T CVariableList::GetNumber(const QString& text, EDataType type) const
{
    std::uint64_t number = 0;
    return ParseNumberLiteral(text, number) ? static_cast<T>(number) : ReadVariable<T>(text, type);
}

bool CVariableList::GetBool(const QString& text) const
{
    std::uint8_t flag = 0;
    return ParseBoolLiteral(text, flag) ? flag != 0 : ReadVariable<bool>(text, DT_BOOL);
}

std::uint8_t CVariableList::GetByte(const QString& text) const
{
    return GetNumber<std::uint8_t>(text, DT_BYTE);
}

std::uint16_t CVariableList::GetShort(const QString& text) const
{
    return GetNumber<std::uint16_t>(text, DT_SHORT);
}

std::uint32_t CVariableList::GetLong(const QString& text) const
{
    return GetNumber<std::uint32_t>(text, DT_LONG);
}

std::uint64_t CVariableList::GetLonglong(const QString& text) const
{
    return GetNumber<std::uint64_t>(text, DT_LONGLONG);
}

void* CVariableList::GetPVoid(const QString& text) const
{
    void* pointer = nullptr;
    return ParsePointerLiteral(text, pointer) ? pointer : ReadVariable<void*>(text, DT_PVOID);
}

template <class T>
T* CVariableList::GetReference(const QString& name, EDataType type) const
{
    CheckReference(name, type);
    return GetVariable(name).Reference<T>();
}

bool* CVariableList::GetBoolRef(const QString& name) const
{
    return GetReference<bool>(name, DT_BOOL);
}

std::uint8_t* CVariableList::GetByteRef(const QString& name) const
{
    return GetReference<std::uint8_t>(name, DT_BYTE);
}

std::uint16_t* CVariableList::GetShortRef(const QString& name) const
{
    return GetReference<std::uint16_t>(name, DT_SHORT);
}

std::uint32_t* CVariableList::GetLongRef(const QString& name) const
{
    return GetReference<std::uint32_t>(name, DT_LONG);
}

std::uint64_t* CVariableList::GetLonglongRef(const QString& name) const
{
    return GetReference<std::uint64_t>(name, DT_LONGLONG);
}

void** CVariableList::GetPVoidRef(const QString& name) const
{
    return GetReference<void*>(name, DT_PVOID);
}

void CVariableList::CheckValue(const QString& name, EDataType type) const
{
    const auto found = m_Variables.find(name);
    if (found == m_Variables.end())
    {
        ReportScriptError(CAppState::ExecutionType() == EXECUTION_DIAGNOSTIC,
                          FormatText("Test script error: variable '%s' is not defined.", qUtf8Printable(name)));
    }
    else if (!IsCompatible(found->second, type))
    {
        ReportScriptError(CAppState::ExecutionType() == EXECUTION_NORMAL,
                          FormatText("Test script error: variable '%s' cannot be cast to '%s'.", qUtf8Printable(name),
                                     TypeToTypeName(type).c_str()));
    }
}

void CVariableList::CheckReference(const QString& name, EDataType type) const
{
    const auto found = m_Variables.find(name);
    CSafeString message;
    if (found == m_Variables.end())
    {
        message = FormatText("Test script error: variable '%s' is not defined.", qUtf8Printable(name));
    }
    else if (!IsCompatible(found->second, type))
    {
        message = FormatText("Test script error: variable '%s' not of type '%s'", qUtf8Printable(name),
                             TypeToTypeName(type).c_str());
    }
    else if (found->second.IsDefine())
    {
        message =
            FormatText("Test script error: illegal reference to %s variable: %s.", "x:Define", qUtf8Printable(name));
    }
    else
    {
        return;
    }
    ReportScriptError(CAppState::ExecutionType() == EXECUTION_NORMAL, message);
}
