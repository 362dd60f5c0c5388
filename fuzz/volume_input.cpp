#include "volume_input.h"

#include <algorithm>

#include "support/tdf_model.h"

namespace fuzz {

namespace {

using namespace std::string_view_literals;

constexpr std::u16string_view kNameUnits = u"aAbBxyz._- 01\u00C9\u00E9\u0416\u4E2D";
constexpr std::int64_t kLastTime = 2'650'467'743'999'999'999;

std::u16string ReadName(CInput& input) {
    return u"n" + input.Text(kNameUnits, 12);
}

// Any time, or the first ticks of a second, or the last ticks of the second before.
std::int64_t ReadTime(CInput& input) {
    constexpr std::int64_t kTicksPerSecond = 10'000'000;
    std::int64_t ticks = input.Number();
    if (input.Flag()) {
        const std::int64_t second = std::int64_t{input.Byte()} << 30 |
                                    std::int64_t{input.Byte()} << 15 | std::int64_t{input.Byte()};
        ticks = second * kTicksPerSecond - (input.Flag() ? 1 : 0);
    }
    return std::clamp<std::int64_t>(ticks, 0, kLastTime);
}

// A limit of a search: the shown time of a file, or any other number.
double ReadDate(CInput& input, const support::Volume& volume) {
    const double number = static_cast<double>(input.Number()) / 16 - 1e5;
    if (volume.files.empty() || input.Flag()) {
        return number;
    }
    return support::DateOfTicks(input.Pick(volume.files).modifyTime).value_or(number);
}

}  // namespace

support::Volume ReadVolume(CInput& input) {
    support::Volume volume;
    volume.dirs.resize(1 + input.Below(12));
    for (std::size_t i = 1; i < volume.dirs.size(); ++i) {
        volume.dirs[i] = {ReadName(input), static_cast<std::int64_t>(input.Below(i))};
    }
    volume.owners.resize(input.Below(5));
    for (std::size_t i = 0; i < volume.owners.size(); ++i) {
        const std::u16string name = ReadName(input) + support::Wide(std::to_string(i));
        const bool isKnown = input.Flag();
        volume.owners[i] = {name + (isKnown ? u"id" : u""), name, input.Flag() ? u"CORP" : u""};
    }
    volume.files.resize(input.Below(24));
    for (support::FileRow& file : volume.files) {
        file.name = ReadName(input);
        file.dir = static_cast<std::int64_t>(input.Below(volume.dirs.size()));
        file.owner = static_cast<std::uint32_t>(input.Below(volume.owners.size() + 2));
        file.modifyTime = ReadTime(input);
        file.size = input.Number();
    }
    return volume;
}

void SpoilVolume(CInput& input, support::Volume& volume) {
    for (std::size_t count = input.Below(6); count > 0; --count) {
        support::DirRow& dir = input.Pick(volume.dirs);
        switch (input.Below(4)) {
            case 0:
                dir.parent = input.Number();
                break;
            case 1:
                dir.name = input.Text(u"\\a/\r\n\0\xD800"sv, 3);
                break;
            default:
                if (!volume.files.empty()) {
                    support::FileRow& file = input.Pick(volume.files);
                    file = {input.Text(u"\\a/\r\n\xD800", 3), input.Number(),
                            static_cast<std::uint32_t>(input.Number()), input.Number(),
                            input.Number()};
                }
        }
    }
}

support::Criteria ReadCriteria(CInput& input, const support::Volume& volume) {
    support::Criteria criteria;
    const auto isGiven = [&] { return input.Below(3) == 1; };
    if (input.Below(3) != 0) {
        criteria.pattern = input.Text(u"**?naAbB.x0\u00C9", 6);
    }
    if (isGiven()) {
        const std::u16string& name = input.Pick(volume.dirs).name;
        criteria.root =
            u"c:\\" + (input.Flag() ? name : support::Lower(name)) + (input.Flag() ? u"\\" : u"");
        // The text of an argument ends at its first NUL.
        criteria.root->resize(std::min(criteria.root->find(u'\0'), criteria.root->size()));
    }
    if (isGiven() && !volume.owners.empty()) {
        const support::OwnerRow& owner = input.Pick(volume.owners);
        const std::u16string forms[] = {owner.name, owner.domain + u"\\" + owner.name,
                                        owner.name + u"@" + owner.domain,
                                        owner.domain + u"." + owner.name, u"unkn0"};
        criteria.owner = input.Pick(forms);
        if (input.Flag()) {
            return criteria;
        }
    }
    if (isGiven()) {
        criteria.extensions = input.Text(u".txyz;,0", 8);
    }
    if (isGiven()) {
        const double from = ReadDate(input, volume);
        criteria.time = {from, input.Flag() ? from : ReadDate(input, volume)};
    }
    if (isGiven()) {
        criteria.size = {input.Number(), input.Number()};
    }
    criteria.serverRule = input.Flag();
    return criteria;
}

void RequireOutcome(HRESULT result, const support::SearchOutcome& expected) {
    const auto info = zorel::client::TakeErrorInfo();
    Require(result == expected.hr, "a search has the result of the model");
    for (const std::u16string& clue : expected.clues) {
        // A description ends at the first NUL of the texts in it.
        const std::string text = zorel::ToUtf8(clue.substr(0, clue.find(u'\0')));
        Require(info.description.find(text) != std::string::npos,
                "a failed search reports what the model reports");
    }
}

}  // namespace fuzz
