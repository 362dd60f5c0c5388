// Compares the examples of doc/text-data-files.md with the library's output.
#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "ZorelText.h"
#include "frame/conversions.h"
#include "support/tdf_generation.h"

namespace {

// The indented lines and the table rows below each heading.
std::map<std::string, std::string> ReadSections() {
    std::map<std::string, std::string> sections;
    std::ifstream document(ZOREL_SOURCE_DIR "/doc/text-data-files.md");
    std::string heading;
    for (std::string line; std::getline(document, line);) {
        if (line.starts_with("## ")) {
            heading = line.substr(3);
        } else if (line.starts_with("    ")) {
            sections[heading] += line.substr(4) + "\r\n";
        } else if (line.starts_with("| `")) {
            sections[heading] += line + "\n";
        }
    }
    return sections;
}

class TextDataFilesDocument : public support::CTdfGenerationTest {
protected:
    // The content of a file generated from the documented list of volumes, as UTF-8.
    std::string Generated(std::u16string_view name) {
        support::Volume volume = support::SmallVolume();
        volume.owners.pop_back();
        std::string list = m_sections["What is read"];
        list.resize(list.size() - 2);
        WriteList(zorel::ToUtf16(list));
        for (const auto* file : {u"C.dat", u"D.dat"}) {
            Write(file, volume.Bytes());
        }
        EXPECT_EQ(Generate().text, "");
        const std::string bytes = support::ReadWhole(OutPath(name));
        std::u16string text(bytes.size() / 2, u'\0');
        std::memcpy(text.data(), bytes.data(), 2 * text.size());
        return zorel::ToUtf8(text.substr(1));
    }

    std::map<std::string, std::string> m_sections = ReadSections();
};

TEST_F(TextDataFilesDocument, ShowsTheFilesAndTheirLines) {
    EXPECT_EQ(Generated(u"owners.D.map"), m_sections["Owners map"]);
    const std::string record = m_sections["Record lines"];
    EXPECT_EQ(Generated(u"vl.C.CORP.jsmith.0.txt").substr(0, record.size()), record);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder.Native(u"new/out")), {}),
              6);
    for (const char* name :
         {"vl.VOLUME.DOMAIN.NAME.N.txt", "vl.VOLUME.unknU.N.txt", "owners.VOLUME.map"}) {
        EXPECT_NE(m_sections["The files"].find(name), std::string::npos) << name;
    }
    m_settings.bCrcMode = true;
    const std::string keys = Generated(u"vl.C.CORP.jsmith.0.txt");
    EXPECT_TRUE(keys.ends_with("\r\n" + m_sections["Key lines"])) << keys;
}

TEST_F(TextDataFilesDocument, ShowsFingerprints) {
    std::istringstream rows(m_sections["Fingerprints"]);
    int count = 0;
    for (std::string bar, path, limit, rest; rows >> bar >> path >> bar >> limit; ++count) {
        std::getline(rows, rest);
        automation::CBstr text;
        ASSERT_EQ(m_lib->ConvetrPathToCrcStr(
                      support::Bstr(zorel::ToUtf16(path.substr(1, path.size() - 2))).Get(),
                      std::stoi(limit), text.Put()),
                  S_OK);
        EXPECT_NE(rest.find("`" + zorel::ToUtf8(automation::TextOf(text.Get())) + "`"),
                  std::string::npos)
            << path << " " << limit << rest;
    }
    EXPECT_EQ(count, 5);
}

}  // namespace
