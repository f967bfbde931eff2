// The information record of the module: version, origin and the texts of the release process.
#include <algorithm>
#include <array>
#include <string_view>

#include "build_information.h"
#include "exports/entry.h"

namespace {

// A text that the release process fills in: a key, followed by blanks up to 65 characters.
constexpr std::size_t kRecordWidth = 65;
constexpr std::array<char, kRecordWidth + 1> blank_record(std::string_view key) {
  std::array<char, kRecordWidth + 1> record{};
  std::fill_n(record.begin(), kRecordWidth, ' ');
  std::copy(key.begin(), key.end(), record.begin());
  return record;
}
constexpr auto kHotfixRecord = blank_record("QRZ_VERSION_HOTFIX_NUMBER=");
constexpr auto kImageRecord = blank_record("QRZ_IMAGE_DESCRIPTION=");

static_assert(std::string_view(VXFNC_REVISION).size() == 8);
static_assert(std::string_view(VXFNC_TREE_REVISION).size() == 19);

}  // namespace

constexpr vxfnc::ModuleInformation info = {
    .build_stamp = "vxfnc " VXFNC_VERSION " (" VXFNC_BUILD_DATE ")",
    .build_tree = VXFNC_BUILD_TREE,
    .empty_2 = "",
    .build_time = VXFNC_BUILD_TIME,
    .module_name = "vxfnc",
    .revision = VXFNC_REVISION,
    .module_kind = "vxext",
    .tree_revision = VXFNC_TREE_REVISION,
    .empty_8 = "",
    .version_key = "version",
    .separator = "::",
    .empty_11 = "",
    .hotfix_record = kHotfixRecord.data(),
    .empty_13 = "",
    .image_record = kImageRecord.data(),
    .build_host = VXFNC_BUILD_HOST,
    .build_date = VXFNC_BUILD_DATE,
    .zero = {},
};
