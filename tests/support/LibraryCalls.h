// Puts functions of a test in place of those that a loaded library calls. Only the library is led to them: what the
// test itself calls stays the system's.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

// LibraryCall_c: from its construction to its destruction a library calls the substitute.
//
//   Takes    name: of the symbol; substitute: of the same type as the function
//            libraries: beginnings of their file names; the others go on as before
//   Fails    throws where none of the libraries calls the function
class LibraryCall_c {
public:
  template <class Function_t>
  LibraryCall_c(const char* name, Function_t* substitute, const std::vector<std::string>& libraries = {"libzemoUtils"})
      : LibraryCall_c(name, reinterpret_cast<void*>(substitute), libraries) {}
  LibraryCall_c(const char* name, void* substitute, const std::vector<std::string>& libraries);
  ~LibraryCall_c();
  LibraryCall_c(const LibraryCall_c&) = delete;
  LibraryCall_c& operator=(const LibraryCall_c&) = delete;

private:
  std::vector<std::pair<void**, void*>> m_slots; // each with what it held
};

// HeapUse_c: counts the blocks that the library takes from the heap and gives back, itself or through the C++ library,
// from its construction to its destruction. What the test does with strings in the meantime may be counted too.
class HeapUse_c {
public:
  HeapUse_c();

  std::size_t taken() const;
  std::size_t givenBack() const;

private:
  LibraryCall_c m_new;
  LibraryCall_c m_delete;
  LibraryCall_c m_sizedDelete;
};

} // namespace TestSupport
