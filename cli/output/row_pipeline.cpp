#include "cli/output/row_pipeline.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace zorel::cli {

namespace {

constexpr std::size_t kMaxWaitingChunks = 8;

// One source and its chunks that are not written yet, in order.
struct Line {
    CRowSource* source = nullptr;
    std::deque<RowChunk> chunks;
    std::exception_ptr error;  // after the chunks
    bool isStarted = false;
    bool isFetching = false;
    bool isAtEnd = false;
};

class CRowPipeline {
public:
    explicit CRowPipeline(const std::vector<std::unique_ptr<CRowSource>>& sources)
        : m_lines(sources.size()),
          m_maxInUse(std::min<std::size_t>(std::max(1U, std::thread::hardware_concurrency()),
                                           sources.size())) {
        for (std::size_t i = 0; i < sources.size(); ++i) {
            m_lines[i].source = sources[i].get();
        }
    }

    ~CRowPipeline() {
        {
            const std::lock_guard guard(m_lock);
            m_isCancelled = true;
        }
        m_changed.notify_all();
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }

    CRowPipeline(const CRowPipeline&) = delete;
    CRowPipeline& operator=(const CRowPipeline&) = delete;

    void Run(const std::function<bool(RowChunk&)>& write) {
        for (std::size_t i = 0; i < m_maxInUse; ++i) {
            m_threads.emplace_back([this] { Work(); });
        }
        while (std::optional<RowChunk> chunk = TakeNext()) {
            if (!write(*chunk)) {
                return;
            }
            chunk->text.Clear();
            const std::lock_guard guard(m_lock);
            m_freeTexts.push_back(std::move(chunk->text));
        }
    }

private:
    void Work() {
        std::unique_lock lock(m_lock);
        while (!m_isCancelled) {
            if (Line* const line = FindWork()) {
                FetchFrom(*line, lock);
            } else if (IsAllFetched()) {
                return;
            } else {
                m_changed.wait(lock);
            }
        }
    }

    // The first source from which this thread may fetch; null when it has to wait. Only threads
    // that are in use for a source can wait for one, so that the written source always advances.
    Line* FindWork() {
        std::size_t inUse = 0;
        for (std::size_t i = m_current; i < m_lines.size(); ++i) {
            Line& line = m_lines[i];
            if (line.isAtEnd) {
                continue;
            }
            const bool mayStart = line.isStarted || inUse < m_maxInUse;
            if (mayStart && !line.isFetching && line.chunks.size() < kMaxWaitingChunks) {
                return &line;
            }
            ++inUse;
        }
        return nullptr;
    }

    bool IsAllFetched() const {
        return std::all_of(m_lines.begin(), m_lines.end(),
                           [](const Line& line) { return line.isAtEnd; });
    }

    void FetchFrom(Line& line, std::unique_lock<std::mutex>& lock) {
        line.isStarted = line.isFetching = true;
        RowChunk chunk;
        if (!m_freeTexts.empty()) {
            chunk.text = std::move(m_freeTexts.back());
            m_freeTexts.pop_back();
        }
        lock.unlock();
        std::exception_ptr error;
        bool isFound = false;
        try {
            isFound = line.source->Fetch(chunk);
        } catch (const std::exception&) {
            error = std::current_exception();
        }
        lock.lock();
        line.isFetching = false;
        line.isAtEnd = !isFound;
        line.error = error;
        if (isFound) {
            line.chunks.push_back(std::move(chunk));
        }
        m_changed.notify_all();
    }

    // The next chunk in order; none at the end.
    std::optional<RowChunk> TakeNext() {
        std::unique_lock lock(m_lock);
        while (m_current < m_lines.size()) {
            Line& line = m_lines[m_current];
            if (!line.chunks.empty()) {
                std::optional<RowChunk> chunk(std::move(line.chunks.front()));
                line.chunks.pop_front();
                m_changed.notify_all();
                return chunk;
            }
            if (!line.isAtEnd) {
                m_changed.wait(lock);
                continue;
            }
            if (line.error) {
                std::rethrow_exception(line.error);
            }
            ++m_current;
            m_changed.notify_all();
        }
        return std::nullopt;
    }

    std::vector<Line> m_lines;
    const std::size_t m_maxInUse;          // sources, each with a thread
    std::size_t m_current = 0;             // the source whose chunks are being written
    std::vector<CTextBuffer> m_freeTexts;  // empty, with their memory
    bool m_isCancelled = false;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::thread> m_threads;
};

}  // namespace

void WriteInOrder(const std::vector<std::unique_ptr<CRowSource>>& sources,
                  const std::function<bool(RowChunk&)>& write) {
    CRowPipeline(sources).Run(write);
}

}  // namespace zorel::cli
