// Prints the document of every good record, and of all of them together, one a line: what the
// schema is tried on.
#include <cstdio>

#include "tests/tools/document/parsed_document.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

void print(const document::json& slots) { printf("%s\n", slots.dump().c_str()); }

}  // namespace

int main() {
  writer::container all;
  for (const writer::named_record& record : writer::every_good_record()) {
    print(kit::document_of(record.content));
    all.add(record.content);
  }
  all.add(writer::record_722());
  print(kit::document_of(all.image()));
  const writer::bytes nvm = writer::nvm_image({.grid = writer::nvm_grid{}});
  print(kit::document_of(all.image(), &nvm));

  writer::bytes numbers = writer::record_29();
  numbers.patch_u32(20, 0x7fc00001).patch_u32(24, 0xff800000).patch_u32(28, 0xff800001);
  print(kit::document_of(numbers));
  print(kit::document_of(writer::record_1({.name = "\xff"})));
  print(kit::document_of(writer::resized(writer::record_13(), 20)));
  writer::bytes shared = writer::record_34();
  shared.patch_u64(48, 32);
  print(kit::document_of(shared));
}
