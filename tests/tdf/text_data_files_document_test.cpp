// The examples of doc/text-data-files.md, held against what the library does.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "ZorelText.h"
#include "support/index_file_builder.h"
#include "support/search_client.h"
#include "support/tdf_model.h"

namespace {

using support::Bstr;
using support::EBinding;
using Lines = std::vector<std::string>;

// What stands below one heading: the lines of its code, and the cells of its tables without
// their heads.
struct Section {
    Lines code;
    std::vector<Lines> rows;
};

Lines CellsOf(const std::string& line) {
    Lines cells;
    std::istringstream text(line.substr(1));
    for (std::string cell; std::getline(text, cell, '|');) {
        const auto start = cell.find_first_not_of(' ');
        cells.push_back(start == std::string::npos
                            ? ""
                            : cell.substr(start, cell.find_last_not_of(' ') + 1 - start));
    }
    return cells;
}

std::map<std::string, Section> SectionsOf(const char* path) {
    std::map<std::string, Section> sections;
    std::ifstream document(path);
    std::string heading;
    for (std::string line; std::getline(document, line);) {
        if (line.starts_with("## ")) {
            heading = line.substr(3);
        } else if (line.starts_with("    ")) {
            sections[heading].code.push_back(line.substr(4));
        } else if (line.starts_with("|--")) {
            sections[heading].rows.clear();
        } else if (line.starts_with("|")) {
            sections[heading].rows.push_back(CellsOf(line));
        }
    }
    return sections;
}

std::string Joined(const Lines& lines, const char* end) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + end;
    }
    return text;
}

// The text between two marks, the outermost ones.
std::string Between(const std::string& text, const std::string& left, const std::string& right) {
    const std::size_t start = text.find(left) + left.size();
    return text.substr(start, text.rfind(right) - start);
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

class TextDataFilesDocument : public support::SearchTest {
protected:
    Section& operator[](const char* heading) { return m_sections[heading]; }

    // The volume that the document speaks of, under the documented list of volumes.
    void WriteCatalogue() {
        support::Volume volume = support::SmallVolume();
        volume.owners.pop_back();
        std::erase_if(volume.files, [](const auto& file) { return file.owner > 1; });
        Write(u"C.dat", volume.Bytes());
        Write(u"D.dat", volume.Bytes());
        std::string list = Joined((*this)["What is read"].code, "\r\n");
        list.resize(list.size() - 2);
        Write(u"summary.txt", support::Utf16Bytes(u"\uFEFF" + zorel::ToUtf16(list)));
    }
    void Generate(bool keyLines) {
        ASSERT_EQ(m_lib->GenerateOibTDFs(
                      Bstr(m_folder.Path(u"summary.txt")).Get(), Bstr(m_folder.Path(u"out")).Get(),
                      {}, 1000, keyLines ? VARIANT_TRUE : VARIANT_FALSE, 3, 2, Bstr(u"._- ").Get()),
                  S_OK);
    }
    // The text of a file that was generated.
    std::string Generated(const std::u16string& name) const {
        const std::string bytes = support::ReadWhole(m_folder.Path(u"out/" + name));
        std::u16string text(bytes.size() / 2, u'\0');
        std::memcpy(text.data(), bytes.data(), 2 * text.size());
        return zorel::ToUtf8(text);
    }
    // The message that a search ends with for a file of this one line.
    std::string MessageFor(std::u16string_view line) {
        Write(u"t.txt", support::Utf16Bytes(line));
        automation::CComPtr<IOibTDFSearchTask> task;
        const auto call = support::Call<&IOibIdxLib::FindInOibTDF2>(
            EBinding::Early, m_lib.Get(), Bstr(m_folder.Path(u"t.txt")).Get(),
            support::CSpec({}).Get(), task.Put());
        EXPECT_EQ(call.hr, E_FAIL);
        return zorel::ToUtf8(call.error.description);
    }

private:
    std::map<std::string, Section> m_sections =
        SectionsOf(ZOREL_SOURCE_DIR "/doc/text-data-files.md");
};

TEST_F(TextDataFilesDocument, FilesAndTheirLinesAreAsShown) {
    WriteCatalogue();
    Generate(false);
    std::set<std::string> documented;
    for (const Lines& row : (*this)["The files"].rows) {
        for (const auto& volume : {"C", "D"}) {
            std::string name = Replaced(Between(row[0], "`", "`"), "VOLUME", volume);
            name = Replaced(Replaced(name, "DOMAIN.NAME.N", "CORP.jsmith.0"), "unknU.N", "unkn0.0");
            documented.insert(name);
        }
    }
    std::set<std::string> written;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Native(u"out"))) {
        written.insert(entry.path().filename().string());
    }
    EXPECT_EQ(written, documented);
    const std::string mark = "\xEF\xBB\xBF";
    EXPECT_EQ(Generated(u"owners.C.map"), mark + Joined((*this)["Owners map"].code, "\r\n"));
    const std::string records = Generated(u"vl.C.CORP.jsmith.0.txt");
    EXPECT_TRUE(records.starts_with(mark + Joined((*this)["Record lines"].code, "\r\n")))
        << records;
    EXPECT_EQ((*this)["Record lines"].code.size(), 1U);
}

TEST_F(TextDataFilesDocument, FingerprintsAndKeyLinesAreAsShown) {
    const auto& rows = (*this)["Fingerprints"].rows;
    EXPECT_EQ(rows.size(), 5U);
    for (const Lines& row : rows) {
        automation::CBstr text;
        ASSERT_EQ(m_lib->ConvetrPathToCrcStr(Bstr(zorel::ToUtf16(Between(row[0], "`", "`"))).Get(),
                                             std::stoi(row[1]), text.Put()),
                  S_OK);
        EXPECT_EQ(zorel::ToUtf8(automation::TextOf(text.Get())), Between(row[2], "`", "`"))
            << row[0];
    }
    WriteCatalogue();
    Generate(true);
    const std::string keys = Joined((*this)["Key lines"].code, "\r\n");
    EXPECT_EQ((*this)["Key lines"].code.size(), 5U);
    EXPECT_TRUE(Generated(u"vl.C.CORP.jsmith.0.txt").ends_with("\r\n" + keys));
}

TEST_F(TextDataFilesDocument, FailuresAreAsShown) {
    const std::u16string_view lines[] = {
        u"xx/15/2013 09:05:07, 1, C:\\a", u"13/15/2013 09:05:07, 1, C:\\a",
        u"01/15/2013 09:05:07, 1 C:\\a", u"01/15/2013 09:05:07,\\1,x"};
    const auto& rows = (*this)["Searching record lines"].rows;
    ASSERT_EQ(rows.size(), std::size(lines));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::string shown = Between(rows[i][1], "\"", "\"");
        EXPECT_NE(MessageFor(lines[i]).find("\r\n" + shown.substr(0, shown.find('[') + 1)),
                  std::string::npos)
            << shown;
    }
}

}  // namespace
