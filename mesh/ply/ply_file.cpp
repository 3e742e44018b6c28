#include "mesh/ply/ply_file.h"

#include <cstring>
#include <limits>
#include <utility>

#include "mesh/input_file.h"
#include "mesh/ply/records.h"

namespace qv::ply {
namespace {

using diagnostics::Print;

std::size_t SizeOf(std::FILE* file) {
  const std::size_t bytes = mesh::RemainingBytes(file);
  return bytes == 0 ? std::numeric_limits<std::size_t>::max() : bytes;
}

void Want(PlyProperty* property, Type type, std::size_t offset, std::size_t room) {
  property->isWanted = true;
  property->internalType = type;
  property->offset = offset;
  property->room = room;
}

}  // namespace

PlyFile::PlyFile(std::FILE* file) : file_(file), fileBytes_(SizeOf(file)), reader_(file) {}

std::unique_ptr<PlyFile> PlyFile::Open(std::FILE* file) {
  std::unique_ptr<PlyFile> opened(new PlyFile(file));
  const bool isPly = ReadHeader(opened->reader_, &opened->header_);
  if (opened->reader_.OutOfMemory()) ReportAllocation();
  return isPly && !opened->reader_.OutOfMemory() ? std::move(opened) : nullptr;
}

const PlyElement* PlyFile::Element(int index) const {
  if (index >= 0 && index < elementCount()) return &header_.elements[static_cast<std::size_t>(index)];
  Print("Warning:  No element with index %d\n", index);
  return nullptr;
}

PlyProperty* PlyFile::FindProperty(int element, const char* name, PropertyKind kind) {
  PlyElement& described = header_.elements[static_cast<std::size_t>(element)];
  for (PlyProperty& property : described.properties) {
    if (property.name == name) {
      if (property.kind == kind) return &property;
      break;
    }
  }
  Print("Warning:  Can't find property '%s' in element '%s'\n", name, described.name.c_str());
  return nullptr;
}

bool PlyFile::RequestScalar(int element, const char* name, Type type, std::size_t offset) {
  PlyProperty* property = FindProperty(element, name, PropertyKind::kScalar);
  if (property == nullptr) return false;
  Want(property, type, offset, 1);
  return true;
}

bool PlyFile::RequestList(int element, const char* name, const ListPlace& place) {
  PlyProperty* property = FindProperty(element, name, PropertyKind::kList);
  if (property == nullptr) return false;
  Want(property, place.type, place.offset, place.room);
  property->countInternalType = place.countType;
  property->countOffset = place.countOffset;
  return true;
}

bool PlyFile::RequestString(int element, const char* name, std::size_t offset, std::size_t room) {
  PlyProperty* property = FindProperty(element, name, PropertyKind::kString);
  if (property == nullptr) return false;
  Want(property, Type::kInt8, offset, room);
  return true;
}

bool PlyFile::KeepOthers(int element) {
  if (Element(element) == nullptr) return false;
  header_.elements[static_cast<std::size_t>(element)].keepsOthers = true;
  return true;
}

bool PlyFile::KeepOthers(const std::string& elementName) {
  bool found = false;
  for (PlyElement& element : header_.elements) {
    if (element.name == elementName) element.keepsOthers = found = true;
  }
  if (!found) Print("ply_get_other_properties: Can't find element '%s'\n", elementName.c_str());
  return found;
}

bool PlyFile::IsBelievable(std::size_t announced, std::size_t fileBytes) {
  if (announced <= kAlwaysBelieved || announced <= fileBytes) return true;
  ReportAllocation();
  return false;
}

std::ptrdiff_t PlyFile::ReadRecords(int element, void* records, std::size_t stride, std::size_t count) {
  PlyElement& described = header_.elements[static_cast<std::size_t>(element)];
  char* bytes = static_cast<char*>(records);
  if (stride > 0) std::memset(bytes, 0, stride * count);
  const std::ptrdiff_t found =
      kind() == FileKind::kAscii
          ? ReadTextRecords(reader_, described, bytes, stride, count)
          : ReadBinaryRecords(reader_, described, kind() == FileKind::kBinaryBigEndian, bytes, stride, count);
  if (found < 0 || reader_.OutOfMemory()) {
    ReportAllocation();
    return -1;
  }
  return found;
}

bool PlyFile::PassElement(int element) {
  const auto announced =
      static_cast<std::size_t>(header_.elements[static_cast<std::size_t>(element)].recordCount);
  if (!IsBelievable(announced, fileBytes_)) return false;
  const std::ptrdiff_t found = ReadRecords(element, nullptr, 0, announced);
  return found >= 0 &&
         (static_cast<std::size_t>(found) == announced || IsBelievable(announced, reader_.BytesRead()));
}

}  // namespace qv::ply
