// Rows that several threads format and one thread writes in order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/output/text_buffer.h"

namespace zorel::cli {

// The text of some rows. Everything but `text` and `rows` is for who needs single rows: to sort
// them or to write only the first ones.
struct RowChunk {
    struct Row {
        std::size_t end = 0;      // of its text
        std::size_t keyEnd = 0;   // of its key in `keys`
        std::int64_t number = 0;  // the key of an order by size or time
    };

    struct Note {
        std::u16string path;
        std::string reason;
    };

    CTextBuffer text;
    std::uint64_t rows = 0;
    std::vector<Row> marks;
    std::u16string keys;
    std::vector<std::string> errors;  // what could not be read
    std::vector<Note> notes;          // what the listing leaves out or shows in another way
};

// Where rows come from, such as a search.
class CRowSource {
public:
    virtual ~CRowSource() = default;

    // Adds the next rows to an empty chunk; returns false at the end. Called by one thread at a
    // time. The first call does the search itself.
    virtual bool Fetch(RowChunk& chunk) = 0;
};

// The rows that a source adds to a chunk, at most.
inline constexpr std::uint64_t kRowsPerChunk = 2048;

// Fetches the rows of all sources, with one thread for each processor and source, and calls `write`
// on the calling thread with the chunks in order, until it returns false. A limited number of
// chunks waits, and at most one source for each thread is in use. An exception of a source is
// thrown after the chunks before it are written.
void WriteInOrder(const std::vector<std::unique_ptr<CRowSource>>& sources,
                  const std::function<bool(RowChunk&)>& write);

}  // namespace zorel::cli
