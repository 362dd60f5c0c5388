// Patterns against a plain matcher: through the module, compiled, and not compiled.
#include "tdf/matching/wildcard.h"

#include <cstring>

#include "fuzz.h"
#include "support/search_model.h"

namespace fuzz {

namespace {

bool ModuleMatches(const std::u16string& name, const std::u16string& pattern) {
    VARIANT_BOOL result = VARIANT_FALSE;
    RequireSuccess(Library().IsWildcardMatch(zorel::client::CString(u"C:\\folder\\" + name),
                                             zorel::client::CString(pattern), &result),
                   "a line with a folder can be matched");
    return result != VARIANT_FALSE;
}

}  // namespace

void Run(std::string_view bytes) {
    constexpr std::u16string_view kUnits = u"aAbB*?*.xX[{@`\u00C9\u00E9\u0141";
    CInput input(bytes);
    const bool isStandard = input.Flag();
    const bool isLong = input.Below(4) == 3;
    const std::u16string pattern = input.Text(kUnits, isLong ? 40 : 6);
    const std::u16string name = input.Text(kUnits, isLong ? 120 : 10);
    const auto rule = isStandard ? tdf::EStarRule::Standard : tdf::EStarRule::LeadingStar;
    const bool expected = support::PlainWildcardMatch(name, pattern, !isStandard);
    const tdf::CWildcardPattern compiled(pattern, rule);
    std::vector<std::byte> unaligned(2 * name.size() + 1);
    std::memcpy(unaligned.data() + 1, name.data(), 2 * name.size());
    Require(compiled.Match(name) == expected, "a compiled pattern agrees with the model");
    Require(compiled.Match(unaligned.data() + 1, name.size()) == expected,
            "the address of a name does not matter");
    Require(tdf::MatchWildcard(name, pattern, tdf::Floats(pattern, rule)) == expected,
            "a pattern agrees with the model");
    Require(ModuleMatches(name, pattern) == support::PlainWildcardMatch(name, pattern, true),
            "the module agrees with the model");
}

std::vector<std::string> Seeds() {
    std::vector<std::string> seeds;
    for (std::uint32_t i = 0; i < 2000; ++i) {
        seeds.push_back(RandomSeed(i, 170, {}, i % 2 == 0 ? 9 : 256));
    }
    return seeds;
}

}  // namespace fuzz
