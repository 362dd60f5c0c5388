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

constexpr std::size_t kMaxWaitingChunks = 32;

// One source and its chunks that are not written yet, in order.
struct Line {
    // A place that a worker reserves when it fetches rows, and fills when they are formatted.
    struct Place {
        std::optional<RowChunk> chunk;
        std::exception_ptr error;
    };

    CRowSource* source = nullptr;
    std::deque<Place> places;
    bool isStarted = false;
    bool isFetching = false;
    bool isAtEnd = false;
};

class CRowPipeline {
public:
    explicit CRowPipeline(const std::vector<std::unique_ptr<CRowSource>>& sources)
        : m_lines(sources.size()) {
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
        for (std::size_t i = 0; i < RowWorkerCount(); ++i) {
            m_threads.emplace_back([this, i] { Work(i); });
        }
        while (std::optional<RowChunk> chunk = TakeNext()) {
            if (!write(*chunk)) {
                return;
            }
        }
    }

private:
    void Work(std::size_t worker) {
        std::unique_lock lock(m_lock);
        while (!m_isCancelled) {
            Line* const line = FindWork();
            if (line != nullptr) {
                DoWork(*line, worker, lock);
            } else if (IsAllFetched()) {
                return;
            } else {
                m_changed.wait(lock);
            }
        }
    }

    // The first source from which this thread may fetch; null when it has to wait.
    Line* FindWork() {
        std::size_t inUse = 0;
        for (std::size_t i = m_current; i < m_lines.size(); ++i) {
            Line& line = m_lines[i];
            if (line.isAtEnd) {
                continue;
            }
            const bool mayFetch = i == m_current ? line.places.size() < kMaxWaitingChunks
                                                 : m_waiting < kMaxWaitingChunks &&
                                                       (line.isStarted || inUse < RowWorkerCount());
            if (mayFetch && !line.isFetching) {
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

    void DoWork(Line& line, std::size_t worker, std::unique_lock<std::mutex>& lock) {
        line.isStarted = line.isFetching = true;
        // References to the elements of a deque stay valid when others are added or removed.
        Line::Place& place = line.places.emplace_back();
        ++m_waiting;
        lock.unlock();
        std::exception_ptr error;
        FormatRows format;
        try {
            format = line.source->Fetch();
        } catch (const std::exception&) {
            error = std::current_exception();
        }
        lock.lock();
        line.isFetching = false;
        line.isAtEnd = !format;
        m_changed.notify_all();
        RowChunk chunk;
        if (format) {
            lock.unlock();
            try {
                format(worker, chunk);
            } catch (const std::exception&) {
                error = std::current_exception();
            }
            format = nullptr;
            lock.lock();
        }
        place.error = error;
        place.chunk = std::move(chunk);
        m_changed.notify_all();
    }

    // The next chunk in order; none at the end.
    std::optional<RowChunk> TakeNext() {
        std::unique_lock lock(m_lock);
        while (m_current < m_lines.size()) {
            Line& line = m_lines[m_current];
            if (line.places.empty() && line.isAtEnd) {
                ++m_current;
                m_changed.notify_all();
                continue;
            }
            if (line.places.empty() || !line.places.front().chunk) {
                m_changed.wait(lock);
                continue;
            }
            const Line::Place place = std::move(line.places.front());
            line.places.pop_front();
            --m_waiting;
            m_changed.notify_all();
            if (place.error) {
                std::rethrow_exception(place.error);
            }
            return place.chunk;
        }
        return std::nullopt;
    }

    std::vector<Line> m_lines;
    std::size_t m_current = 0;  // the source whose chunks are being written
    std::size_t m_waiting = 0;  // places of all sources
    bool m_isCancelled = false;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::thread> m_threads;
};

}  // namespace

std::size_t RowWorkerCount() {
    return std::max(1U, std::thread::hardware_concurrency());
}

void WriteInOrder(const std::vector<std::unique_ptr<CRowSource>>& sources,
                  const std::function<bool(RowChunk&)>& write) {
    CRowPipeline(sources).Run(write);
}

}  // namespace zorel::cli
