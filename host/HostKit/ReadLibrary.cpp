#include <HostKit/ReadLibrary.h>

#include <CoreKit/Exceptions.h>

#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <gelf.h>
#include <link.h>
#include <unistd.h>

namespace
{
#if defined(__x86_64__)
constexpr unsigned MACHINE = EM_X86_64;
#elif defined(__aarch64__)
constexpr unsigned MACHINE = EM_AARCH64;
#elif defined(__riscv)
constexpr unsigned MACHINE = EM_RISCV;
#elif defined(__powerpc64__)
constexpr unsigned MACHINE = EM_PPC64;
#elif defined(__s390x__)
constexpr unsigned MACHINE = EM_S390;
#else
#error "the number of this machine in ELF files is not known here"
#endif
constexpr int CLASS = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr int BYTE_ORDER_DATA = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;

/// Stands in for every function of a library that is only read.
void Refuse()
{
    throw ZKRunTimeException("The test library was only read, not opened; its functions cannot be called.");
}

/// An ELF file, open for reading. Throws `ZKRunTimeException` with the reason when it is not what the loader takes.
class CElfFile
{
public:
    explicit CElfFile(const std::string& path)
    {
        elf_version(EV_CURRENT);
        m_File = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (m_File < 0)
        {
            throw ZKRunTimeException(std::generic_category().message(errno));
        }
        m_Elf = elf_begin(m_File, ELF_C_READ, nullptr);
    }
    ~CElfFile()
    {
        elf_end(m_Elf);
        if (m_File >= 0)
        {
            close(m_File);
        }
    }
    CElfFile(const CElfFile&) = delete;
    CElfFile& operator=(const CElfFile&) = delete;

    /// Throws unless it is a shared object for this machine.
    void Check() const
    {
        GElf_Ehdr header{};
        if (!m_Elf || elf_kind(m_Elf) != ELF_K_ELF || !gelf_getehdr(m_Elf, &header))
        {
            throw ZKRunTimeException("not a shared library: it is no ELF file");
        }
        const bool isForHere = header.e_ident[EI_CLASS] == CLASS && header.e_ident[EI_DATA] == BYTE_ORDER_DATA &&
            header.e_machine == MACHINE;
        if (!isForHere)
        {
            throw ZKRunTimeException("a library for another kind of machine");
        }
        if (header.e_type != ET_DYN || IsProgram())
        {
            throw ZKRunTimeException("not a shared library: it is a program or an object file");
        }
    }

    /// Whether its sections were not stripped off; the loader goes by the segments alone.
    bool HasSections() const
    {
        GElf_Ehdr header{};
        return gelf_getehdr(m_Elf, &header) && header.e_shoff != 0;
    }

    /// The functions that the loader finds by name.
    std::set<std::string, std::less<>> Functions() const
    {
        std::set<std::string, std::less<>> functions;
        bool hasTable = false;
        ForEachEntry(SHT_DYNSYM,
                     [&](Elf_Data& data, int index, std::size_t names)
                     {
                         hasTable = true;
                         GElf_Sym symbol{};
                         const bool isRead = gelf_getsym(&data, index, &symbol) != nullptr;
                         const char* const name = isRead ? elf_strptr(m_Elf, names, symbol.st_name) : nullptr;
                         if (name && IsFunction(symbol))
                         {
                             functions.emplace(name);
                         }
                     });
        if (!hasTable)
        {
            throw ZKRunTimeException("its table of exported functions cannot be read");
        }
        return functions;
    }

private:
    bool IsFunction(const GElf_Sym& symbol) const
    {
        const unsigned type = GELF_ST_TYPE(symbol.st_info);
        const bool isCode = type == STT_FUNC || type == STT_GNU_IFUNC || (type == STT_NOTYPE && IsInCode(symbol));
        const unsigned visibility = GELF_ST_VISIBILITY(symbol.st_other);
        return symbol.st_shndx != SHN_UNDEF && GELF_ST_BIND(symbol.st_info) != STB_LOCAL && isCode &&
            (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
    }

    /// Whether it stands among instructions, as what is written in assembly may without saying that it is a function.
    bool IsInCode(const GElf_Sym& symbol) const
    {
        GElf_Shdr section{};
        return gelf_getshdr(elf_getscn(m_Elf, symbol.st_shndx), &section) && (section.sh_flags & SHF_EXECINSTR) != 0;
    }

    /// Whether the loader starts it and does not load it: a program that can stand at any address looks like a library.
    bool IsProgram() const
    {
        bool isProgram = false;
        ForEachEntry(SHT_DYNAMIC,
                     [&](Elf_Data& data, int index, std::size_t)
                     {
                         GElf_Dyn entry{};
                         isProgram = isProgram ||
                             (gelf_getdyn(&data, index, &entry) && entry.d_tag == DT_FLAGS_1 &&
                              (entry.d_un.d_val & DF_1_PIE) != 0);
                     });
        return isProgram;
    }

    /// Hands over every entry of the sections of a type, with the section that holds their names.
    template <class Function>
    void ForEachEntry(unsigned type, const Function& function) const
    {
        for (Elf_Scn* section = elf_nextscn(m_Elf, nullptr); section; section = elf_nextscn(m_Elf, section))
        {
            GElf_Shdr header{};
            Elf_Data* const data =
                gelf_getshdr(section, &header) && header.sh_type == type ? elf_getdata(section, nullptr) : nullptr;
            const std::size_t count = data && header.sh_entsize > 0 ? data->d_size / header.sh_entsize : 0;
            for (std::size_t index = 0; index < count; ++index)
            {
                function(*data, static_cast<int>(index), header.sh_link);
            }
        }
    }

    int m_File = -1;
    Elf* m_Elf = nullptr;
};
} // namespace

CReadLibrary::CReadLibrary(const CSafeString& name)
    : CLibWrapper(name, true)
{
}

bool CReadLibrary::IsLoaded() const
{
    return m_IsRead;
}

CLibWrapper::TFunction CReadLibrary::GetFunction(std::string_view name) const
{
    const bool isExported = m_Functions.contains(name) || (m_IsRead && !m_HasTable && !name.empty());
    return isExported ? Refuse : nullptr;
}

bool CReadLibrary::OpenFile(const std::string& path, std::string& reason)
{
    try
    {
        const CElfFile file(path);
        file.Check();
        m_HasTable = file.HasSections();
        if (m_HasTable)
        {
            m_Functions = file.Functions();
        }
        m_IsRead = true;
    }
    catch (const ZKRunTimeException& exception)
    {
        reason = exception.what();
    }
    return m_IsRead;
}

std::unique_ptr<CLibWrapper> MakeReadLibrary(const CSafeString& name)
{
    return std::make_unique<CReadLibrary>(name);
}
