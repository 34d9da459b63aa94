#pragma once

#include <Orvanta/OrvantaExport.h>

#include <CoreKit/SafeString.h>

#include <QString>

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <type_traits>

/// The data types of suite variables; all numeric types are unsigned.
enum EDataType : std::int32_t
{
    DT_NONE = -1, ///< type of a default-constructed variable; never comes from a suite
    DT_PVOID = 0,
    DT_BOOL = 1,
    DT_BYTE = 2,
    DT_SHORT = 3,
    DT_LONG = 4,
    DT_LONGLONG = 5,
};

inline constexpr std::array DATA_TYPES = {DT_PVOID, DT_BOOL, DT_BYTE, DT_SHORT, DT_LONG, DT_LONGLONG};

/// The type of a name as suites write it ("LONG"), case-sensitive. Throws `ZKDOMDocException` for any other name.
ORVANTA_EXPORT EDataType TypeNameToType(const QString& name);

/// The name of a type; a fixed text for anything that is no type. The reference stays valid for the process.
ORVANTA_EXPORT const CSafeString& TypeToTypeName(EDataType type);

/// Bytes that a value of the type takes: 1, 2, 4 or 8; 0 for anything that is no type.
ORVANTA_EXPORT std::size_t DataTypeWidth(EDataType type);

/// A suite's variable or constant: a type, a tag and one 64-bit slot, read and written through views of every width
/// that all begin at the slot's first byte. Writing a narrow view leaves the other bytes alone. Test libraries write
/// into the slot through pointers, so a variable must not move while it is in its list.
class ORVANTA_EXPORT CVariable
{
public:
    CVariable() = default;

    /// Builds a variable from the text of its value. A text that is no literal of the type gives 0 without a message; a
    /// number wider than the type stays whole in the slot. Throws `ZKDOMDocException` for `DT_NONE` or no type at all.
    static CVariable MakeVariable(EDataType type, const QString& value, bool isDefine, const QString& config);

    /// Stores a value under a type, which becomes the variable's: a bool as one byte 0 or 1, a narrow number as its low
    /// bytes. Throws `ZKRunTimeException` for `DT_NONE` or no type at all.
    template <class T>
    void Set(const T& value, EDataType type)
    {
        static_assert(std::is_unsigned_v<T>, "values of variables are unsigned");
        Store(static_cast<std::uint64_t>(value), type);
    }

    /// All-ones mask of the type. Throws `CTestSuiteException` for no type.
    std::uint64_t MaxSize() const;
    /// Largest value of a numeric type. Throws `ZKException` for every other type.
    std::uint64_t MaxValue() const;

    /// "TYPE: value" for people, with the slot's address when asked for. Throws `ZKDOMDocException` for no type.
    QString GetDiagnosticString(bool withAddress);

    EDataType Type() const { return m_Type; }
    bool IsDefine() const { return m_IsDefine; }
    const QString& Config() const { return m_Config; }

    /// The slot read as a type's view; `View<bool>` is true when the first byte is not 0.
    template <class T>
    T View() const
    {
        if constexpr (std::is_same_v<T, bool>)
        {
            return m_Value[0] != 0;
        }
        else
        {
            T value;
            std::memcpy(&value, m_Value.data(), sizeof value);
            return value;
        }
    }

    /// Writes all 64 bits of the slot, whatever the type.
    void SetSlot(std::uint64_t value) { std::memcpy(m_Value.data(), &value, sizeof value); }

    /// The address of the slot's view, for writing; also in a constant list.
    template <class T>
    T* Reference() const
    {
        return reinterpret_cast<T*>(m_Value.data());
    }

private:
    void Store(std::uint64_t value, EDataType type);

    EDataType m_Type = DT_NONE;
    bool m_IsDefine = false;
    QString m_Config;
    alignas(8) mutable std::array<unsigned char, 8> m_Value{};
    QString m_DiagnosticString;
};

/// The literals of suites. Each parser returns whether the text is one, and if so its value. Without one the value is
/// 0, but `ParseBoolWord` leaves it alone. The bool words, in upper or lower case: "true", "false", "null", the empty
/// text.
bool ParseBoolWord(std::string_view text, std::uint64_t& value);
bool ParseNumberLiteral(const QString& text, std::uint64_t& value);
bool ParseBoolLiteral(const QString& text, std::uint8_t& value);
bool ParsePointerLiteral(const QString& text, void*& value);

/// The same by type: the number that a literal of the type stands for, 0 or 1 for `DT_BOOL`, whole even where it is
/// wider than the type; none for a text that is no literal.
ORVANTA_EXPORT std::optional<std::uint64_t> ParseLiteral(EDataType type, const QString& text);
