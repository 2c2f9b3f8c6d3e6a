// The twelve functions, and what the loader sees of the library file.
#include <elf.h>
#include <gtest/gtest.h>
#include <zevka/exports.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/message.h"
#include "tests/abi/raw_slots.h"

namespace zevka::test {
namespace {

// The dynamic section and symbols of the library file.
class SharedObject {
 public:
  SharedObject() : bytes_(DiskBytes(LibraryFile())) {
    const auto header = At<Elf64_Ehdr>(0);
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
      const auto section = At<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr));
      const auto strings = At<Elf64_Shdr>(header.e_shoff + section.sh_link * sizeof(Elf64_Shdr));
      if (section.sh_type == SHT_DYNSYM) {
        ReadSymbols(section, strings);
      } else if (section.sh_type == SHT_DYNAMIC) {
        ReadDynamic(section, strings);
      }
    }
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
      const auto segment = At<Elf64_Phdr>(header.e_phoff + i * sizeof(Elf64_Phdr));
      relro = relro || segment.p_type == PT_GNU_RELRO;
    }
  }

  std::set<std::string> defined;
  std::set<std::string> imported;
  std::vector<std::string> needed;
  bool uniqueSymbol = false;
  bool bindNow = false;
  bool relro = false;

 private:
  template <typename Record>
  Record At(std::size_t offset) const {
    Record record{};
    std::memcpy(&record, bytes_.data() + offset, sizeof record);
    return record;
  }
  std::string Text(const Elf64_Shdr& strings, std::size_t offset) const {
    return bytes_.data() + strings.sh_offset + offset;
  }
  void ReadSymbols(const Elf64_Shdr& section, const Elf64_Shdr& strings) {
    for (std::size_t at = sizeof(Elf64_Sym); at < section.sh_size; at += sizeof(Elf64_Sym)) {
      const auto symbol = At<Elf64_Sym>(section.sh_offset + at);
      const std::string name = Text(strings, symbol.st_name);
      if (symbol.st_shndx == SHN_UNDEF) {
        imported.insert(name);
      } else if (ELF64_ST_BIND(symbol.st_info) != STB_LOCAL) {
        defined.insert(name);
        uniqueSymbol = uniqueSymbol || ELF64_ST_BIND(symbol.st_info) == STB_GNU_UNIQUE;
      }
    }
  }
  void ReadDynamic(const Elf64_Shdr& section, const Elf64_Shdr& strings) {
    for (std::size_t at = 0; at < section.sh_size; at += sizeof(Elf64_Dyn)) {
      const auto entry = At<Elf64_Dyn>(section.sh_offset + at);
      if (entry.d_tag == DT_NEEDED) {
        needed.push_back(Text(strings, entry.d_un.d_val));
      }
      bindNow = bindNow || (entry.d_tag == DT_FLAGS_1 && (entry.d_un.d_val & DF_1_NOW) != 0);
      bindNow = bindNow || (entry.d_tag == DT_FLAGS && (entry.d_un.d_val & DF_BIND_NOW) != 0);
    }
  }

  std::string bytes_;
};

TEST(Exports, AreExactlyTwelve) {
  const SharedObject library;
  const std::set<std::string> expected = {
      "RequestInterface",  "RequestInterfaceA", "RequestInterfaceW", "ReleaseInterface",
      "ReleaseInterfaceA", "ReleaseInterfaceW", "xRegister",         "xRegisterA",
      "xRegisterW",        "xUnregister",       "xUnregisterA",      "xUnregisterW"};
  EXPECT_EQ(library.defined, expected);
  EXPECT_FALSE(library.uniqueSymbol);
}

TEST(Exports, NeedOnlyTheRunTime) {
  const SharedObject library;
  for (const std::string& needed : library.needed) {
    bool known = false;
    for (const char* allowed : {"libc.so", "libstdc++.so", "libgcc_s.so", "libm.so", "ld-linux",
                                "libasan.so", "libubsan.so", "libtsan.so"}) {
      known = known || needed.starts_with(allowed);
    }
    EXPECT_TRUE(known) << needed;
  }
}

TEST(Exports, LeaveTheCharsetConverterToBeFoundAtRunTime) {
  const SharedObject library;
  EXPECT_TRUE(library.imported.contains("dlsym"));
  for (const std::string& name : library.imported) {
    EXPECT_FALSE(name.starts_with("iconv")) << name;
  }
}

TEST(Exports, AreBoundAtLoadAndReadOnlyAfterwards) {
  const SharedObject library;
  EXPECT_TRUE(library.bindNow);
  EXPECT_TRUE(library.relro);
}

class ExportForms : public ::testing::TestWithParam<const char*> {
 protected:
  std::string Name(const char* stem) const { return std::string(stem) + GetParam(); }
  int Request(int version, StandardPacker** location) const {
    return host.Export<int(int, StandardPacker**)>(Name("RequestInterface").c_str())(version,
                                                                                     location);
  }
  int Release(StandardPacker** location) const {
    return host.Export<int(StandardPacker**)>(Name("ReleaseInterface").c_str())(location);
  }
  Host host;
};

TEST_P(ExportForms, RequestRefusesOtherVersionsAndLeavesTheLocation) {
  StandardPacker* const marker = &host.Packer();
  for (const int version : {0, 2, -1, 256, 257, INT_MAX, INT_MIN}) {
    StandardPacker* location = marker;
    EXPECT_EQ(Request(version, &location), 0) << version;
    EXPECT_EQ(location, marker) << version;
  }
}

TEST_P(ExportForms, RequestTestsTheVersionBeforeTheLocation) {
  EXPECT_EQ(Request(2, nullptr), 0);
}

TEST_P(ExportForms, RequestMakesANewPackerEachTime) {
  StandardPacker* first = nullptr;
  StandardPacker* second = nullptr;
  EXPECT_EQ(Request(1, &first), 1);
  EXPECT_EQ(Request(1, &second), 1);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(first, second);
  EXPECT_EQ(first->SupportsVersion(1), 1);
  EXPECT_EQ(second->SupportsVersion(1), 1);
  EXPECT_EQ(Release(&first), 1);
  EXPECT_EQ(second->SupportsVersion(2), 0);
  EXPECT_EQ(Release(&second), 1);
}

// KEEP(release-always-one)
TEST_P(ExportForms, ReleaseLeavesTheLocation) {
  StandardPacker* location = nullptr;
  ASSERT_EQ(Request(1, &location), 1);
  const StandardPacker* const before = location;
  EXPECT_EQ(Release(&location), 1);
  EXPECT_EQ(location, before);
}

TEST_P(ExportForms, ReleaseOfNothingIsSuccess) {
  StandardPacker* nothing = nullptr;
  EXPECT_EQ(Release(nullptr), 1);
  EXPECT_EQ(Release(&nothing), 1);
  EXPECT_EQ(nothing, nullptr);
}

int deletingCalls = 0;
void* deletedObject = nullptr;
void CountDeleting(void* self) {
  ++deletingCalls;
  deletedObject = self;
}

TEST_P(ExportForms, ReleaseCallsTheDeletingDestructorOfSlotTen) {
  StandardPacker* location = nullptr;
  ASSERT_EQ(Request(1, &location), 1);
  deletingCalls = 0;
  {
    PatchedPacker patched(location);
    patched.Replace(10, CountDeleting);
    EXPECT_EQ(Release(&location), 1);
  }
  EXPECT_EQ(deletingCalls, 1);
  EXPECT_EQ(deletedObject, location);
  EXPECT_EQ(Release(&location), 1);
  EXPECT_EQ(deletingCalls, 1);
}

TEST_P(ExportForms, UnregisterIsSuccess) {
  EXPECT_EQ(host.Export<int()>(Name("xUnregister").c_str())(), 1);
}

INSTANTIATE_TEST_SUITE_P(PlainNarrowWide, ExportForms, ::testing::Values("", "A", "W"));

TEST(Exports, RegisterIsSuccess) {
  const Host host;
  for (const char* name : {"xRegister", "xRegisterA"}) {
    auto* const registerHook = host.Export<int(const char*)>(name);
    EXPECT_EQ(registerHook("a folder"), 1);
    EXPECT_EQ(registerHook(""), 1);
    EXPECT_EQ(registerHook(nullptr), 1);
  }
}

TEST(Exports, RegisterWTakesAnyWideText) {
  const Host host;
  auto* const registerHook = host.Export<int(const wchar_t*)>("xRegisterW");
  EXPECT_EQ(registerHook(L"a folder"), 1);
  EXPECT_EQ(registerHook(L""), 1);
  EXPECT_EQ(registerHook(L"caf\u00E9 \U0001F600"), 1);
  const wchar_t beyond[] = {static_cast<wchar_t>(0x110000), 0};
  EXPECT_EQ(registerHook(beyond), 1);
  EXPECT_EQ(registerHook(nullptr), 1);
}

}  // namespace
}  // namespace zevka::test
