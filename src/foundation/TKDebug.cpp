// Debug channel table, line formatting and routing of channel text to the installed sinks.
#include "foundation/TKDebug.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

#include "foundation/TKError.h"
#include "foundation/TKThreads.h"

namespace {

constexpr int32_t kMaxChannels = 256;
// Formatted channel text is limited to this block, the added newline included.
constexpr size_t kBlockSize = 4094;

struct ChannelRow {
    // Flags are atomic so that the test of a channel needs no lock while settings change.
    std::atomic<uint8_t> enabled{0};
    std::atomic<uint8_t> prefix{1};
    std::atomic<uint8_t> outputToFile{1};
    TKString name;                        // written once, before the row is published
    std::shared_ptr<TKDebugSink> output;  // guarded by Table::mutex; null means the default log
};

struct Table {
    Table() {
        static const char* const kNames[kDebugStandardChannels] = {
            "General", "Always on", "Always off", "Error", "CallApp", "CallUI", "DataBase",
            "PDF internal", "PixMap", "KeenLink", "KeenLink details", "ColorCharts", "Sockets",
            "Preset", "Monitor", "MonitorVerbose", "MonitorVCP", "MeasDevice", "", "Test tool",
            "Stack trace", "Test 1", "Test 2", "Cache", "Thread", "Events", "pdfEngine"};
        for (int32_t i = 0; i < kDebugStandardChannels; ++i) rows[size_t(i)].name = kNames[i];
        for (int32_t on : {kDebugGeneral, kDebugAlwaysOn, kDebugError}) rows[size_t(on)].enabled = 1;
        count.store(kDebugStandardChannels, std::memory_order_release);
    }

    std::array<ChannelRow, kMaxChannels> rows;
    std::atomic<int32_t> count{0};  // rows below count are complete
    std::atomic<bool> withDate{false};
    std::mutex mutex;  // guards adding rows, the sinks and the prefix text
    std::shared_ptr<TKDebugSink> defaultSink;
    std::string outputPrefix;
};

// Created on first use and never destroyed, so that errors raised while the process shuts
// down can still be logged.
Table& TheTable() {
    static Table* table = new Table;
    return *table;
}

ChannelRow& RowOf(int32_t channel) {
    Table& table = TheTable();
    if (channel < 0 || channel >= table.count.load(std::memory_order_acquire))
        throw TKError(channel, nullptr, __FILE__, __LINE__);
    return table.rows[size_t(channel)];
}

// A sink that fails may raise an error, and building the error logs it: this flag stops that
// from coming back into the log on the same thread.
thread_local bool tWriting = false;

std::string LinePrefix(Table& table, const ChannelRow& row, int32_t channel) {
    std::string prefix;
    char scratch[64];
    if (table.withDate.load(std::memory_order_relaxed)) {
        std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        std::strftime(scratch, sizeof scratch, "%Y-%m-%d %H:%M:%S ", &local);
        prefix += scratch;
    }
    {
        std::lock_guard<std::mutex> lock(table.mutex);
        prefix += table.outputPrefix;
    }
    if (row.prefix.load(std::memory_order_relaxed)) {
        std::snprintf(scratch, sizeof scratch, "%06d: [#%03d]", int(getpid()), int(channel));
        prefix += scratch;
    }
    return prefix;
}

// Puts the prefix in front of every line that the text begins.
std::string Decorate(const std::string& prefix, const char* text) {
    std::string out;
    bool lineStart = true;
    for (const char* p = text; *p; ++p) {
        if (lineStart) out += prefix;
        out += *p;
        lineStart = *p == '\n';
    }
    return out;
}

}  // namespace

TKDebugSink::~TKDebugSink() = default;

bool ChannelEnabled(int32_t channel) {
    if (channel == kDebugAlwaysOn) return true;
    if (channel < 0 || channel == kDebugAlwaysOff) return false;
    Table& table = TheTable();
    if (channel >= table.count.load(std::memory_order_acquire)) return false;
    return table.rows[size_t(channel)].enabled.load(std::memory_order_relaxed) != 0;
}

void DebugPrintf(int32_t channel, const char* format, ...) {
    if (!ChannelEnabled(channel)) return;  // the common case: not even the arguments are touched
    va_list args;
    va_start(args, format);
    DebugVPrintf(channel, format, args);
    va_end(args);
}

void DebugVPrintf(int32_t channel, const char* format, va_list args) {
    if (!format || !ChannelEnabled(channel)) return;
    char block[kBlockSize + 1];
    int written = std::vsnprintf(block, kBlockSize, format, args);
    if (written < 0) return;
    size_t length = size_t(written) < kBlockSize - 1 ? size_t(written) : kBlockSize - 1;
    if (length == 0 || block[length - 1] != '\n') block[length++] = '\n';
    block[length] = 0;
    DebugWrite(channel, block);
}

void DebugWrite(int32_t channel, const char* text) {
    if (!text || !ChannelEnabled(channel) || tWriting) return;
    tWriting = true;
    try {
        Table& table = TheTable();
        ChannelRow& row = table.rows[size_t(channel)];
        std::shared_ptr<TKDebugSink> sink;
        if (row.outputToFile.load(std::memory_order_relaxed)) {
            std::lock_guard<std::mutex> lock(table.mutex);
            sink = row.output ? row.output : table.defaultSink;
        }
        // Without a file the text would go to the platform's debugger output; there is none here.
        if (sink) {
            // A sink writes a file, where a kill of a worker thread could otherwise tear it.
            TKHoldKills hold;
            std::string out = Decorate(LinePrefix(table, row, channel), text);
            sink->Write(out.data(), out.size());
        }
    } catch (...) {
        // Logging never raises into the code it observes.
    }
    tWriting = false;
}

void StackTrace() {
    // The hook exists so that a platform with a symbol walker can write to channel 20; this
    // system has none, and only makes sure the channel is there.
    (void)(DebugChannelCount() > kDebugStackTrace);
}

int32_t DebugChannelCount() { return TheTable().count.load(std::memory_order_acquire); }

TKDebugChannelInfo DebugChannel(int32_t channel) {
    ChannelRow& row = RowOf(channel);
    TKDebugChannelInfo info;
    info.number = channel;
    info.name = row.name;
    info.prefix = row.prefix.load() != 0;
    info.enabled = ChannelEnabled(channel);
    info.outputToFile = row.outputToFile.load() != 0;
    std::lock_guard<std::mutex> lock(TheTable().mutex);
    info.ownOutput = row.output != nullptr;
    return info;
}

int32_t AddChannel(const TKString& name, bool enabled) {
    Table& table = TheTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    int32_t number = table.count.load(std::memory_order_relaxed);
    if (number >= kMaxChannels) TKThrow(OutOfRange);
    ChannelRow& row = table.rows[size_t(number)];
    row.name = name;
    row.enabled = enabled ? 1 : 0;
    table.count.store(number + 1, std::memory_order_release);
    return number;
}

void SetChannelEnabled(int32_t channel, bool enabled) {
    ChannelRow& row = RowOf(channel);
    // Channels 1 and 2 are fixed: "always on" and "always off" are promises to the callers.
    if (channel == kDebugAlwaysOn || channel == kDebugAlwaysOff) return;
    row.enabled.store(enabled ? 1 : 0, std::memory_order_relaxed);
}

void SetChannelPrefix(int32_t channel, bool prefix) { RowOf(channel).prefix.store(prefix ? 1 : 0); }

void SetChannelOutputToFile(int32_t channel, bool toFile) {
    RowOf(channel).outputToFile.store(toFile ? 1 : 0);
}

void SetChannelOutput(int32_t channel, std::shared_ptr<TKDebugSink> sink) {
    ChannelRow& row = RowOf(channel);
    std::shared_ptr<TKDebugSink> old;
    {
        std::lock_guard<std::mutex> lock(TheTable().mutex);
        old = std::move(row.output);
        row.output = std::move(sink);
    }
    // `old` closes here, outside the lock, in case closing it logs.
}

void SetDefaultDebugSink(std::shared_ptr<TKDebugSink> sink) {
    Table& table = TheTable();
    std::shared_ptr<TKDebugSink> old;
    {
        std::lock_guard<std::mutex> lock(table.mutex);
        old = std::move(table.defaultSink);
        table.defaultSink = std::move(sink);
    }
}

std::shared_ptr<TKDebugSink> DefaultDebugSink() {
    Table& table = TheTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    return table.defaultSink;
}

void SetDebugOutputWithDate(bool withDate) { TheTable().withDate.store(withDate); }

bool DebugOutputWithDate() { return TheTable().withDate.load(); }

void SetDebugOutputPrefix(const TKString& prefix) {
    Table& table = TheTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    table.outputPrefix.assign(prefix.CString(), size_t(prefix.Length()));
}

TKString DebugOutputPrefix() {
    Table& table = TheTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    return TKString(table.outputPrefix.c_str(), int32_t(table.outputPrefix.size()));
}

void DisableDebugReport() { DebugWrite(kDebugGeneral, "DisableDebugReport...\n"); }

TKDebugTimer::TKDebugTimer(const char* name, int32_t channel)
    : fName(name ? name : ""), fChannel(channel), fStart(std::chrono::steady_clock::now()) {}

TKDebugTimer::~TKDebugTimer() {
    if (!ChannelEnabled(fChannel)) return;
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - fStart);
    DebugPrintf(fChannel, "%s: %u ms\n", fName.CString(), unsigned(ms.count()));
}

double TKDebugTimer::Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - fStart).count();
}

void TKDebugTimer::Step(const char* step) {
    if (ChannelEnabled(fChannel)) DebugPrintf(fChannel, "'%s' duration: %6.3fs\n", step ? step : "", Seconds());
    fStart = std::chrono::steady_clock::now();
}
