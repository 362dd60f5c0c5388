// The documented example of a meta-file, byte for byte.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/meta_files.h"

namespace {

// The bytes of the hex dump in a document.
std::string DumpIn(const char* path) {
    std::ifstream document(path);
    std::string dumped;
    for (std::string line; std::getline(document, line);) {
        if (line.size() > 10 && line.starts_with("    0") && line.substr(8, 2) == "  ") {
            std::istringstream bytes(line.substr(10, 48));
            for (std::string byte; bytes >> byte;) {
                dumped.push_back(static_cast<char>(std::stoi(byte, nullptr, 16)));
            }
        }
    }
    return dumped;
}

class MetaFileFormat : public support::CMetaFileTest {};

TEST_F(MetaFileFormat, GoldenFileIsTheDocumentedExample) {
    const std::string golden = support::ReadWhole(
        std::filesystem::path(ZOREL_SOURCE_DIR "/tests/data/meta_file.mtf").u16string());
    EXPECT_EQ(DumpIn(ZOREL_SOURCE_DIR "/doc/meta-file.md"), golden);
    ASSERT_TRUE(support::WriteWhole(Path(), golden));
    const auto file = OpenMetaFile(EIdxMetaLoad);
    EXPECT_EQ(Get<&IMtfMetaFile::EnumAllAttrs>(file), u"Version Job.Name Job.Server.Host");
    EXPECT_EQ(Get<&IMtfMetaFile::FindAttr>(file, u"Version"), u"1");
    EXPECT_EQ(Get<&IMtfMetaFile::FindAttr>(file, u"Job.Name"), u"Daily");
    EXPECT_EQ(Get<&IMtfMetaFile::FindAttr>(file, u"Job.Server.Host"), u"srv01");
    ASSERT_EQ(file->FlushChanges(), S_OK);
    EXPECT_EQ(support::ReadWhole(Path()), golden) << "a rewrite keeps every line";
}

}  // namespace
