#include "companions/PScanAssistant/scanning/PageWriter.h"

#include "platform/Guarded.h"

#include <utility>

namespace trigora::companions {

PageWriter::PageWriter(Write write) : write_(std::move(write)), thread_([this] { run(); }) {}

PageWriter::~PageWriter() {
    if (thread_.joinable()) {
        finish();
    }
}

bool PageWriter::put(PageImage page) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return hasFailed_ || (!page_ && !isWriting_); });
    if (hasFailed_) {
        return false;
    }
    page_ = std::move(page);
    changed_.notify_all();
    return true;
}

bool PageWriter::finish() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    changed_.notify_all();
    thread_.join();
    return !hasFailed_;
}

void PageWriter::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return isEnding_ || page_; });
        if (!page_) {
            return;
        }
        PageImage page = std::move(*page_);
        page_.reset();
        isWriting_ = true;
        lock.unlock();
        bool isWritten = false;
        platform::guarded([&] { isWritten = write_(std::move(page)); });
        lock.lock();
        isWriting_ = false;
        hasFailed_ = !isWritten;
        changed_.notify_all();
        if (hasFailed_) {
            return;
        }
    }
}

} // namespace trigora::companions
