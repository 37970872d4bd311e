#include "simulators/scanners/ScannerFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace trigora::simulators {

namespace {

/// Null when the file cannot be mapped or has another size.
ScannerState* map(const std::string& path, int flags) {
    const int file = ::open(path.c_str(), flags | O_RDWR | O_CLOEXEC, 0600);
    if (file < 0) {
        return nullptr;
    }
    struct stat status {};
    const bool isNew = (flags & O_CREAT) != 0;
    const bool fits = isNew ? ftruncate(file, sizeof(ScannerState)) == 0
                            : fstat(file, &status) == 0 && status.st_size == sizeof(ScannerState);
    void* memory =
        fits ? mmap(nullptr, sizeof(ScannerState), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0) : MAP_FAILED;
    close(file);
    return memory != MAP_FAILED ? static_cast<ScannerState*>(memory) : nullptr;
}

void makeMutex(pthread_mutex_t& mutex) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

} // namespace

std::shared_ptr<ScannerFile> ScannerFile::open(const std::string& path) {
    ScannerState* state = map(path, 0);
    if (state == nullptr) {
        return nullptr;
    }
    std::shared_ptr<ScannerFile> file(new ScannerFile(state));
    return state->layout == scannerLayout ? file : nullptr;
}

std::shared_ptr<ScannerFile> ScannerFile::create(const std::string& path, const ScannerState& state) {
    const std::string unfinished = path + ".new";
    ScannerState* made = map(unfinished, O_CREAT | O_EXCL);
    if (made == nullptr) {
        return nullptr;
    }
    std::shared_ptr<ScannerFile> file(new ScannerFile(made));
    *made = state;
    made->layout = scannerLayout;
    makeMutex(made->mutex);
    return std::rename(unfinished.c_str(), path.c_str()) == 0 ? file : nullptr;
}

std::vector<std::shared_ptr<ScannerFile>> ScannerFile::allIn(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".scanner") {
            paths.push_back(entry->path());
        }
    }
    std::ranges::sort(paths);
    std::vector<std::shared_ptr<ScannerFile>> files;
    for (const std::string& path : paths) {
        if (std::shared_ptr<ScannerFile> file = open(path)) {
            files.push_back(std::move(file));
        }
    }
    return files;
}

ScannerFile::~ScannerFile() { munmap(state_, sizeof(ScannerState)); }

ScannerFile::Lock::Lock(pthread_mutex_t& mutex) : mutex_(mutex) {
    if (pthread_mutex_lock(&mutex_) == EOWNERDEAD) {
        pthread_mutex_consistent(&mutex_);
    }
}

ScannerFile::Lock::~Lock() { pthread_mutex_unlock(&mutex_); }

} // namespace trigora::simulators
