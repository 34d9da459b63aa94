#pragma once

#include <Orvanta/OrvantaExport.h>
#include <Orvanta/Variable.h>

#include <QString>

#include <cstdint>
#include <map>

/// The variables and constants of one suite, by name (case-sensitive, ordered by UTF-16 code units). A value type:
/// copies are deep. A reference to a variable or into its slot stays valid until `Clear`, an assignment or the list's
/// end. Every error is a `CTestSuiteException`, but for a type that is none (`ZKDOMDocException`).
///
/// A value may be asked for by name or as a literal, and a literal wins over a variable of that name. A variable can be
/// read or referenced as any type that is at least as wide as its own. A bad reference is a script error: thrown or
/// logged, depending on the kind of run.
class ORVANTA_EXPORT CVariableList
{
public:
    CVariableList() = default;
    CVariableList(const CVariableList&) = default;
    CVariableList& operator=(const CVariableList& other);
    ~CVariableList() = default;

    /// Add a constant or a variable; a name that exists already, or a null one, is an error.
    void AddDefine(EDataType type, const char* name, const char* value, const QString& config);
    void AddLocal(EDataType type, const char* name, const char* value, const QString& config);
    void Clear() { m_Variables.clear(); }

    bool VariableExists(const QString& name) const;
    const CVariable& GetVariable(const QString& name) const;
    CVariable& GetVariable(const QString& name);

    /// The first variable, in name order, that carries the tag; null when none does. Owned by the list.
    CVariable* GetConfig(const QString& config) const;

    /// A variable's value read as `DT_LONG`, or a literal cut to 32 bits; 0 for a text that is neither.
    std::uint32_t ExtractValue(const QString& text) const;

    bool GetBool(const QString& text) const;
    std::uint8_t GetByte(const QString& text) const;
    std::uint16_t GetShort(const QString& text) const;
    std::uint32_t GetLong(const QString& text) const;
    std::uint64_t GetLonglong(const QString& text) const;
    void* GetPVoid(const QString& text) const;

    /// Pointers into a variable's slot, through which test libraries write; no literals, no constants.
    bool* GetBoolRef(const QString& name) const;
    std::uint8_t* GetByteRef(const QString& name) const;
    std::uint16_t* GetShortRef(const QString& name) const;
    std::uint32_t* GetLongRef(const QString& name) const;
    std::uint64_t* GetLonglongRef(const QString& name) const;
    void** GetPVoidRef(const QString& name) const;

private:
    template <class List>
    static auto& DoGetVariable(List& list, const QString& name);

    void AddVariable(const char* name, const CVariable& variable);
    void CheckValue(const QString& name, EDataType type) const;
    void CheckReference(const QString& name, EDataType type) const;

    template <class T>
    T GetNumber(const QString& text, EDataType type) const;
    template <class T>
    T ReadVariable(const QString& name, EDataType type) const;
    template <class T>
    T* GetReference(const QString& name, EDataType type) const;

    std::map<QString, CVariable> m_Variables;
};
