// SPDX-License-Identifier: MIT
// Each conversion, both ways. The input: map, row, type and offset as bytes, then three texts and a
// key, a line each, then the payload. A type of 0 and an empty key stand for the row's own.
#include <algorithm>
#include <string>

#include "fuzz/fuzz_camera.h"
#include "param/conversion.h"
#include "param/section_map.h"
#include "sections/section.h"

namespace {

// The constant bit rate of a stream profile is stored in two fields, whichever of them is written.
constexpr std::string_view written_in_pairs = "stpf_pf_CBR_";
// An input source that nobody knows becomes the microphone in the section as well.
constexpr std::string_view mended_when_read = "lvad_insource";

bool SameOutside(const SectionRecord& record, const std::vector<std::uint8_t>& before,
                 std::size_t offset, std::size_t size) {
  for (std::size_t i = 0; i < before.size(); ++i) {
    if (record.data[i] != before[i] && (i < offset || i >= offset + size)) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t head = 4;
  if (size < head) return 0;
  const SectionMap& map = section_maps[1 + data[0] % (chain_sections - 1)];
  const std::size_t row = data[1] % Map_Rows(map).size();
  std::string_view input(reinterpret_cast<const char*>(data + head), size - head);
  ValueSlots slots{};
  for (ValueSlot& slot : slots) Slot_SetText(slot, TakeUpTo('\n', input));
  std::string key(TakeUpTo('\n', input));
  if (key.empty()) key = map.rows[row].key;

  SectionRecord record;
  record.type = data[2] == 0 ? map.type : SectionType{data[2] % 13U};
  (void)Section_Prepare(record);
  // A payload that is shorter or longer than its type says is what a mix-up of positions looks
  // like.
  if (data[2] > 100) record.data.resize(std::min<std::size_t>(data[2] * 16U, 2048));
  std::copy_n(input.begin(), std::min(input.size(), record.data.size()), record.data.begin());
  const FieldFormat format = map.fields[row].format;
  const std::size_t offset = FieldOffset(map.fields, row) + data[3] * 8U;

  const auto before = record.data;
  const ValueSlots given = slots;
  (void)Param_ConfigToSection(slots, key, record, offset, format);
  if (slots != given) Fail("a conversion into a section has changed a slot");
  if (record.data.size() != before.size()) Fail("the payload has another size");
  if (!key.starts_with(written_in_pairs) && !SameOutside(record, before, offset, format.size)) {
    Fail("a conversion has written outside its field", static_cast<long>(offset));
  }

  const auto stored = record.data;
  slots = {};
  (void)Param_SectionToConfig(record, slots, key, offset, format);
  for (const ValueSlot& slot : slots) {
    if (slot.back() != '\0') Fail("a text is not terminated");
  }
  if (record.data != stored &&
      !(key == mended_when_read && SameOutside(record, stored, offset, format.size))) {
    Fail("reading a field has changed it", static_cast<long>(offset));
  }
  return 0;
}
