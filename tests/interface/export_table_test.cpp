// The export table, the public header and the built library say the same: checked from outside, by a program
// that links the shared library.
#include <cstddef>
#include <gtest/gtest.h>
#include <type_traits>
#include <vector>

#include "exports/QV_3D.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

/// What an argument takes on the stack of 32-bit Windows.
template <class Argument>
constexpr unsigned Slot() {
  if constexpr (std::is_pointer_v<Argument>) {
    return 4;
  } else {
    return static_cast<unsigned>((sizeof(Argument) + 3) / 4 * 4);
  }
}

/// Matches functions of the export convention only.
template <class Result, class... Arguments>
constexpr unsigned ArgumentBytes(Result(QV_CALL*)(Arguments...)) {
  return (0U + ... + Slot<Arguments>());
}

#define QV_EXPORT(Name, bytes) \
  static_assert(ArgumentBytes(&(Name)) == (bytes), #Name ": the table and the header differ");
#include "exports/export_table.inc"
#undef QV_EXPORT

struct Row {
  const char* name;
  void* address;  ///< as the linker resolved it
};

std::vector<Row> Rows() {
  std::vector<Row> rows;
#define QV_EXPORT(Name, bytes) rows.push_back({#Name, reinterpret_cast<void*>(&(Name))});
#include "exports/export_table.inc"
#undef QV_EXPORT
  return rows;
}

#ifdef _WIN32
void* Lookup(const char* name) {
  const HMODULE library = GetModuleHandleA("QV_3D.dll");
  return library == nullptr ? nullptr : reinterpret_cast<void*>(GetProcAddress(library, name));
}
#else
void* Lookup(const char* name) {
  void* library = dlopen("libQV_3D.so.0", RTLD_NOW | RTLD_NOLOAD);
  if (library == nullptr) return nullptr;
  void* address = dlsym(library, name);
  dlclose(library);
  return address;
}
#endif

}  // namespace

TEST(ExportTable, EveryRow_IsFoundByItsUndecoratedName) {
  for (const Row& row : Rows()) {
    ASSERT_NE(row.address, nullptr) << row.name;
    EXPECT_EQ(Lookup(row.name), row.address) << row.name;
  }
}

TEST(ExportTable, OtherNames_AreNotFound) {
  EXPECT_EQ(Lookup("NoSuchExport"), nullptr);
  EXPECT_EQ(Lookup("_ComputeAverage@12"), nullptr);
  EXPECT_EQ(Lookup("ComputeAverage@12"), nullptr);
#ifdef _WIN32
  EXPECT_EQ(Lookup("glewInit"), nullptr) << "GLEW is linked in, not exported";
#endif
}

TEST(PublicHeader, Types_HaveTheLayoutThatHostsUse) {
  static_assert(sizeof(QV_VertexRecord) == 24);
  static_assert(offsetof(QV_VertexRecord, x) == 12);
  static_assert(QV_BAD_SAMPLE == -1e10);
  static_assert(static_cast<float>(QV_BAD_SAMPLE) == -1e10F);
}
