// Sees the message boxes of another process and answers them, so that none is left standing.
#pragma once

#include "Tests/Support/WideText.h"

#include <filesystem>
#include <vector>

struct SeenMessageBox {
    WideText caption;
    WideText text;
};

class MessageBoxWatcher {
public:
    // The scratch folder is the watcher's to write into. Boxes of processes started from now on are seen.
    explicit MessageBoxWatcher(const std::filesystem::path& scratch);
    ~MessageBoxWatcher();
    MessageBoxWatcher(const MessageBoxWatcher&) = delete;
    MessageBoxWatcher& operator=(const MessageBoxWatcher&) = delete;

    // A picture of each box to come goes into the file, one over the other, as a bitmap. Nothing happens
    // where the target has no boxes that can be seen.
    void TakePictures(const std::filesystem::path& file);

    // Reads and closes the process's box if one stands. To be called again and again while the process runs.
    void Poll(DWORD processId);

    // All boxes, once the processes have ended.
    [[nodiscard]] std::vector<SeenMessageBox> Boxes() const;

private:
    std::filesystem::path output_;
    std::filesystem::path picture_; // empty: none is taken
    std::vector<SeenMessageBox> seen_;
};
