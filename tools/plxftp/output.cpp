// plxftp's messages on stderr, the library's log lines, the progress bar's line and the listing table.
#include <algorithm>
#include <cstdio>
#include <mutex>
#include <string>

#include "LogProcess.h"
#include "plxftpclient.h"

#include "cli.h"

namespace plxftp {
namespace {

std::mutex g_outputMutex;
std::FILE* g_openBar = nullptr; // the stream whose current line is a progress bar, if any

// Log texts carry the server's reply lines: one log line shows them joined by " | ".
std::string OneLine(const std::string& text)
{
    std::string line;
    for (char c : text) {
        if (c == '\r') {
            continue;
        }
        line += c == '\n' ? '|' : c;
    }
    while (!line.empty() && (line.back() == '|' || line.back() == ' ')) {
        line.pop_back();
    }
    std::string spaced;
    for (char c : line) {
        if (c == '|') {
            spaced += " | ";
        } else {
            spaced += c;
        }
    }
    return spaced;
}

void WriteLocked(const std::string& line)
{
    if (g_openBar != nullptr) {
        std::fputs("\r\033[K", g_openBar);
        std::fflush(g_openBar);
    }
    std::fputs(line.c_str(), stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
}

const char* LevelName(LogLevel level)
{
    switch (level) {
    case LogLevel::Debug: return "debug";
    case LogLevel::Info: return "info";
    case LogLevel::Error: return "error";
    }
    return "log";
}

} // namespace

void WriteDiagnostic(const std::string& line)
{
    std::lock_guard<std::mutex> lock(g_outputMutex);
    WriteLocked(line);
}

void DrawBarLine(std::FILE* stream, const std::string& text)
{
    std::lock_guard<std::mutex> lock(g_outputMutex);
    std::fputs("\r", stream);
    std::fputs(text.c_str(), stream);
    std::fputs("\033[K", stream);
    std::fflush(stream);
    g_openBar = stream;
}

void EndBarLine(std::FILE* stream, bool keep)
{
    std::lock_guard<std::mutex> lock(g_outputMutex);
    std::fputs(keep ? "\n" : "\r\033[K", stream);
    std::fflush(stream);
    g_openBar = nullptr;
}

void PrintFtpFailure(const std::string& what, unsigned int code)
{
    const char* meaning = FtpResultMeaning(code);
    char hex[16];
    std::snprintf(hex, sizeof(hex), "0x%08X", code);
    WriteDiagnostic("plxftp: " + what + ": " + hex + " " + PLX_FTP_CLIENT::FtpResultName(code) + ": " +
                    (meaning != nullptr ? meaning : "not a result code of the library"));
}

void PrintLocalFailure(const std::string& what)
{
    WriteDiagnostic("plxftp: " + what);
}

void InstallLogSink(bool verbose)
{
    if (!verbose) {
        // The default sink would print the library's error lines; plxftp reports failures itself.
        LogProcess::SetSink([](LogLevel, unsigned int, const std::string&, const LocationInfo&) {});
        return;
    }
    // Called by the library with its log mutex held, always from the thread running the library call.
    LogProcess::SetSink([](LogLevel level, unsigned int code, const std::string& text, const LocationInfo& where) {
        std::string line = std::string("[") + LevelName(level);
        if (level == LogLevel::Error) {
            char hex[16];
            std::snprintf(hex, sizeof(hex), " 0x%08X", code);
            line += hex;
        }
        line += std::string(" ") + where.getFileName() + ":" + where.getMethodName() + "] " + OneLine(text);
        WriteDiagnostic(line);
    });
}

void Trace(const Options& options, const std::string& text)
{
    if (options.verbose) {
        WriteDiagnostic("[plxftp] " + text);
    }
}

std::string HumanBytes(unsigned long long bytes)
{
    static const char* const kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    double value = static_cast<double>(bytes);
    size_t unit = 0;
    while (value >= 1024.0 && unit + 1 < sizeof(kUnits) / sizeof(kUnits[0])) {
        value /= 1024.0;
        ++unit;
    }
    char text[32];
    if (unit == 0) {
        std::snprintf(text, sizeof(text), "%llu B", bytes);
    } else {
        std::snprintf(text, sizeof(text), "%.1f %s", value, kUnits[unit]);
    }
    return text;
}

std::string FormatListing(const std::vector<const PLX_FTP_CLIENT::TkFileInfo*>& entries)
{
    size_t sizeWidth = 0;
    size_t timeWidth = 0;
    for (const PLX_FTP_CLIENT::TkFileInfo* entry : entries) {
        sizeWidth = std::max(sizeWidth, entry->strFileSize.size());
        timeWidth = std::max(timeWidth, entry->strFileTime.size());
    }
    std::string table;
    for (const PLX_FTP_CLIENT::TkFileInfo* entry : entries) {
        const char* type = entry->ucFileType == 0 ? "file" : entry->ucFileType == 1 ? "dir " : "link";
        std::string line = type;
        line += "  ";
        line += std::string(sizeWidth - entry->strFileSize.size(), ' ') + entry->strFileSize;
        line += "  ";
        line += entry->strFileTime + std::string(timeWidth - entry->strFileTime.size(), ' ');
        line += "  ";
        line += entry->strFileName;
        if (entry->ucFileType == 1) {
            line += "/";
        } else if (entry->ucFileType == 2) {
            line += "@";
        }
        table += line + "\n";
    }
    return table;
}

} // namespace plxftp
