// A megabyte each of what makes a careless reader slow or greedy: headers and words without an end, and
// counts far beyond the bytes that follow.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qv::test {

inline std::vector<std::string> HostileInputs() {
  using namespace std::string_literals;
  const std::string beginnings[] = {
      "",
      "solid s\n",
      std::string(80, 'h') + "\xFF\xFF\xFF\x7F",  // a binary STL that announces 2^31 - 1 triangles
      "ply\n",
      "ply\nformat ascii 1.0\nelement vertex 999999\nproperty float x\n",
      "ply\nformat ascii 1.0\nelement vertex 3\nproperty list uchar int x\nend_header\n",
      "ply\nformat binary_little_endian 1.0\nelement vertex 1000000\nproperty float x\nelement face 1000000\n"
      "property list int int vertex_indices\nend_header\n",
      "ply\nformat binary_big_endian 1.0\nelement face 999999999\nproperty list uint double vertex_indices\n"
      "end_header\n",
  };
  const std::string endings[] = {
      "\n",
      " ",
      "9",
      "a",
      "\"",
      "\0"s,
      "\xFF",
      "1 2 ",
      "vertex ",
      "comment c ",
      "comment c\n",
      "facet vertex 1 2 3 ",
      "1.0-2.0e-9",
      "1e99 ",
      "end_header\n",
      "element e 1000000\n",
      "property list uint uint p\n",
      "facet normal 0 0 1 outer loop vertex 1 2 3 vertex 1e999999999 -1e-999999 3 vertex 4 5 inf endfacet\n",
      "element vertex 1000000\nproperty double x\n",
  };
  constexpr std::size_t kBytes = 1000000;
  std::vector<std::string> inputs;
  for (const std::string& beginning : beginnings) {
    for (const std::string& ending : endings) {
      inputs.push_back(beginning);
      while (inputs.back().size() < kBytes) inputs.back() += ending;
      inputs.back().resize(kBytes);
    }
  }
  return inputs;
}

}  // namespace qv::test
