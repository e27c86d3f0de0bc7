// Test helper: captures the default debug log in memory and puts every channel setting back.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/TKDebug.h"

// Keeps each write apart, so tests can check that lines arrive whole.
class TestCaptureSink : public TKDebugSink {
public:
    void Write(const char* text, size_t length) noexcept override {
        std::lock_guard<std::mutex> lock(fMutex);
        fWrites.emplace_back(text, length);
    }
    std::vector<std::string> Writes() {
        std::lock_guard<std::mutex> lock(fMutex);
        return fWrites;
    }
    std::string All() {
        std::lock_guard<std::mutex> lock(fMutex);
        std::string all;
        for (const std::string& write : fWrites) all += write;
        return all;
    }
    void Clear() {
        std::lock_guard<std::mutex> lock(fMutex);
        fWrites.clear();
    }

private:
    std::mutex fMutex;
    std::vector<std::string> fWrites;
};

// For a scope: the capture is the default log (unless `install` is false), lines carry no
// prefixes, and afterwards every row, the line options and the previous log are as before.
class ScopedDebugCapture {
public:
    explicit ScopedDebugCapture(bool install = true) : fPrevious(DefaultDebugSink()) {
        if (install) SetDefaultDebugSink(sink);
        for (int32_t i = 0; i < DebugChannelCount(); ++i) {
            fSaved.push_back(DebugChannel(i));
            SetChannelPrefix(i, false);
        }
    }
    ~ScopedDebugCapture() {
        for (const TKDebugChannelInfo& info : fSaved) {
            SetChannelEnabled(info.number, info.enabled);
            SetChannelPrefix(info.number, info.prefix);
            SetChannelOutputToFile(info.number, info.outputToFile);
            SetChannelOutput(info.number, nullptr);
        }
        SetDebugOutputWithDate(false);
        SetDebugOutputPrefix("");
        SetDefaultDebugSink(fPrevious);
    }
    ScopedDebugCapture(const ScopedDebugCapture&) = delete;
    ScopedDebugCapture& operator=(const ScopedDebugCapture&) = delete;

    std::shared_ptr<TestCaptureSink> sink = std::make_shared<TestCaptureSink>();

private:
    std::shared_ptr<TKDebugSink> fPrevious;
    std::vector<TKDebugChannelInfo> fSaved;
};
