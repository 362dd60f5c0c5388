// Folder fingerprints of ConvetrPathToCrcStr.
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "support/automation_check.h"
#include "support/tdf_model.h"

namespace {

TEST(FolderFingerprint, AgreesWithTheModelOnRandomPaths) {
    constexpr INT kLimits[] = {std::numeric_limits<INT>::min(), -1, 0, 1, 2, 3, 7};
    const auto library = support::NewLibrary();
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        std::u16string path(random() % 40, u' ');
        for (char16_t& unit : path) {
            unit = random() % 5 == 0
                       ? u"\\/"[random() % 2]
                       : static_cast<char16_t>(1 + random() % (i % 2 == 0 ? 127 : 65535));
        }
        const INT limit = kLimits[random() % std::size(kLimits)];
        automation::CBstr text;
        ASSERT_EQ(library->ConvetrPathToCrcStr(support::Bstr(path).Get(), limit, text.Put()), S_OK);
        ASSERT_EQ(automation::TextOf(text.Get()),
                  u"0h" + support::PlainFingerprint(support::Split(path, u"\\/"), limit))
            << i;
    }
}

}  // namespace
