// The runtime's texts in the C locale, threads, the clock, the memory, the processor and the system's
// version.
#include "Tests/Support/WideText.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <tuple>

namespace {

TEST(RuntimeText, ComparesWithoutCase)
{
    const std::tuple<const char*, const char*, std::size_t, int> rows[] = {
        {"ABC", "abc", 9, 0}, {"abc", "abd", 3, -1}, {"abc", "abd", 2, 0}, {"ab", "abc", 9, -1},
        {"b", "A", 1, 1},     {"[", "{", 1, -1},     {"_", "A", 1, -1},    {"a", "b", 0, 0},
    };
    const auto signOf = [](int value) { return (value > 0) - (value < 0); };
    for (const auto& [a, b, count, sign] : rows) {
        EXPECT_EQ(signOf(_strnicmp(a, b, count)), sign) << a << b;
        EXPECT_EQ(signOf(_strnicmp(b, a, count)), -sign) << a << b;
        if (count > 3) {
            EXPECT_EQ(signOf(_stricmp(a, b)), sign) << a << b;
        }
    }
}

TEST(RuntimeText, ComparesWideTexts)
{
    struct Row {
        WideText a, b;
        int exact, withoutCase;
    };
    const Row rows[] = {
        {WIDE(""), WIDE(""), 0, 0},
        {WIDE("ab"), WIDE("abc"), -1, -1},
        {WIDE("aBc"), WIDE("AbC"), 1, 0},
        {WIDE("["), WIDE("A"), 1, -1},
        {WIDE("_"), WIDE("A"), 1, -1},
        {WIDE("\u00C4"), WIDE("\u00E4"), -1, -1},
        {WIDE("\u0416"), WIDE("Z"), 1, 1},
        {WIDE("\uE000"), WIDE("\U0001F3AE"), 1, 1},
        {WIDE("\uFFFF"), WIDE("\u0001"), 1, 1},
    };
    const auto signOf = [](int value) { return (value > 0) - (value < 0); };
    for (const auto& [a, b, exact, withoutCase] : rows) {
        EXPECT_EQ(signOf(wcscmp(a.c_str(), b.c_str())), exact) << ToUtf8(a);
        EXPECT_EQ(signOf(wcscmp(b.c_str(), a.c_str())), -exact) << ToUtf8(a);
        EXPECT_EQ(signOf(_wcsicmp(a.c_str(), b.c_str())), withoutCase) << ToUtf8(a);
        EXPECT_EQ(signOf(_wcsicmp(b.c_str(), a.c_str())), -withoutCase) << ToUtf8(a);
    }
}

TEST(RuntimeText, WritesIntegers)
{
    struct Row {
        int value;
        std::size_t size;
        int radix, result;
        const char* text;
    };
    const Row rows[] = {
        {0, 2, 10, 0, "0"},
        {INT_MIN, 12, 10, 0, "-2147483648"},
        {INT_MIN, 11, 10, ERANGE, ""},
        {-1, 9, 16, 0, "ffffffff"},
        {35, 8, 36, 0, "z"},
        {-1, 33, 2, 0, "11111111111111111111111111111111"},
        {7, 1, 10, ERANGE, ""},
        {7, 8, 1, EINVAL, ""},
        {7, 8, 37, EINVAL, ""},
    };
    for (const Row& row : rows) {
        std::string buffer(40, '#');
        EXPECT_EQ(_itoa_s(row.value, buffer.data(), row.size, row.radix), row.result) << row.text;
        EXPECT_STREQ(buffer.c_str(), row.text);
        EXPECT_EQ(buffer.substr(row.size), std::string(40 - row.size, '#')) << row.text;
    }
    char text[8];
    EXPECT_EQ(sprintf_s(text, sizeof(text), "%.1f", 2.75), 3);
    EXPECT_STREQ(text, "2.8");
}

TEST(RuntimeText, ReadsNumbers)
{
    const std::tuple<const char*, int, double> rows[] = {
        {"12abc", 12, 12},
        {" \t\n\v\f\r7", 7, 7},
        {"+-1", 0, 0},
        {"-1.5e1x", -1, -15},
        {".5", 0, 0.5},
        {".e1", 0, 0},
        {"5.", 5, 5},
        {"1e", 1, 1},
        {"1e+400", 1, HUGE_VAL},
        {"0x10", 0, 0},
        {"-0X1p3", 0, -0.0},
        {"inf", 0, 0},
        {"nan", 0, 0},
        {"", 0, 0},
        {"4294967297", 1, 4294967297.0},
        {"99999999999", 1215752191, 99999999999.0},
    };
    for (const auto& [text, integer, number] : rows) {
        EXPECT_EQ(atoi(text), integer) << text;
        EXPECT_EQ(atof(text), number) << text;
    }
}

TEST(RuntimeText, LowersAsciiLetters)
{
    char narrow[] = "AZ[az\xC4";
    EXPECT_EQ(_strlwr_s(narrow, sizeof(narrow)), 0);
    EXPECT_STREQ(narrow, "az[az\xC4");
    WCHAR wide[] = WIDE("AZ[az\u00C4\u0416");
    EXPECT_EQ(_wcslwr_s(wide, std::size(wide)), 0);
    EXPECT_EQ(ToUnits(wide), "0061007a005b0061007a00c40416");
    EXPECT_EQ(_strlwr_s(nullptr, 3), EINVAL);
    EXPECT_EQ(_strlwr_s(narrow, 3), EINVAL); // no end within the size
    EXPECT_STREQ(narrow, "");
    EXPECT_EQ(_wcslwr_s(wide, 3), EINVAL);
    EXPECT_EQ(wide[0], 0);
    EXPECT_EQ(wcslen(WIDE("\U0001F3AEx")), 3u);
}

DWORD WINAPI SetAfterAWhile(LPVOID argument)
{
    Sleep(50);
    *static_cast<DWORD*>(argument) = 42;
    return 0;
}

TEST(Threads, RunAndAreAwaited)
{
    DWORD value = 0;
    DWORD id = 0;
    auto* const thread = CreateThread(nullptr, 0, SetAfterAWhile, &value, 0, &id);
    ASSERT_NE(thread, nullptr);
    EXPECT_NE(id, 0u);
    EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_TIMEOUT);
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(value, 42u);
    EXPECT_TRUE(CloseHandle(thread));
}

struct Contest {
    CRITICAL_SECTION section;
    bool entered; // by the second thread
};

DWORD WINAPI EnterOnce(LPVOID argument)
{
    auto& contest = *static_cast<Contest*>(argument);
    EnterCriticalSection(&contest.section);
    contest.entered = true;
    LeaveCriticalSection(&contest.section);
    return 0;
}

TEST(Threads, ACriticalSectionLetsItsOwnerInAgainAndNobodyElse)
{
    Contest contest{};
    InitializeCriticalSection(&contest.section);
    EnterCriticalSection(&contest.section);
    EnterCriticalSection(&contest.section);
    auto* const thread = CreateThread(nullptr, 0, EnterOnce, &contest, 0, nullptr);
    ASSERT_NE(thread, nullptr);
    LeaveCriticalSection(&contest.section);
    EXPECT_EQ(WaitForSingleObject(thread, 50), WAIT_TIMEOUT);
    EXPECT_FALSE(contest.entered);
    LeaveCriticalSection(&contest.section);
    EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    EnterCriticalSection(&contest.section);
    EXPECT_TRUE(contest.entered);
    LeaveCriticalSection(&contest.section);
    EXPECT_TRUE(CloseHandle(thread));
}

TEST(Time, IsTheLocalTimeOfDay)
{
    const std::time_t before = std::time(nullptr);
    SYSTEMTIME time;
    GetLocalTime(&time);
    std::tm parts{.tm_sec = time.wSecond,
                  .tm_min = time.wMinute,
                  .tm_hour = time.wHour,
                  .tm_mday = time.wDay,
                  .tm_mon = time.wMonth - 1,
                  .tm_year = time.wYear - 1900,
                  .tm_isdst = -1};
    const std::time_t now = std::mktime(&parts);
    EXPECT_TRUE(before <= now && now <= before + 2);
    EXPECT_EQ(time.wDayOfWeek, parts.tm_wday);
    EXPECT_LT(time.wMilliseconds, 1000);
}

TEST(Time, HasFieldsFrom1970To3001)
{
    for (const auto& [time, result, year, day, second] : {std::tuple(__time64_t{0}, 0, 70, 0, 0),
                                                          {4294970895, 0, 206, 37, 15},
                                                          {32535244799, 0, 1101, 0, 59},
                                                          {32535244800, EINVAL, -1, -1, -1},
                                                          {-1, EINVAL, -1, -1, -1}}) {
        std::tm fields{};
        EXPECT_EQ(_gmtime64_s(&fields, &time), result) << time;
        EXPECT_TRUE(fields.tm_year == year && fields.tm_yday == day && fields.tm_sec == second) << time;
        EXPECT_TRUE(_gmtime64_s(nullptr, &time) == EINVAL && _gmtime64_s(&fields, nullptr) == EINVAL);
    }
}

TEST(Processor, NamesItsMakerAndComputesByItsControlWord)
{
    if (std::numeric_limits<long double>::digits != 64) {
        GTEST_SKIP() << "not of the x86 family";
    }
    int registers[4]{};
    __cpuidex(registers, 0, 0);
    EXPECT_TRUE(registers[0] > 0 && registers[1] != 0 && registers[2] != 0 && registers[3] != 0);
    const volatile long double ten = 10;
    const unsigned before = _control87(0, 0);
    unsigned word = before;
    std::feclearexcept(FE_ALL_EXCEPT); // what is not masked any more would stop the program
    for (const auto& [value, mask, own] : {std::tuple(0x10100u, 0xB0300u, 0x63Du), // rounded down
                                           {0u, 0xFFF0FF00u, 0x23Du},
                                           {0x20000u, 0x30000u, 0x3Du}}) {
        word = (word & ~mask) | value;
        EXPECT_TRUE(_control87(value, mask) == word && _control87(0, 0) == word) << word;
        std::fenv_t state;
        std::uint16_t control = 0; // the processor's, which the state begins with
        std::fegetenv(&state);
        std::memcpy(&control, &state, sizeof(control));
        EXPECT_EQ(control & 0xF3F, own);
    }
    const long double narrow = 1 / ten;
    EXPECT_EQ(_control87(before, 0xFFFFFFFF), before);
    EXPECT_TRUE(narrow == static_cast<long double>(0.1F) && narrow != 1 / ten);
    EXPECT_TRUE(_set_SSE2_enable(0) == 0 && _set_SSE2_enable(5) == 1);
}

TEST(Memory, FiguresHangTogether)
{
    MEMORYSTATUS status{};
    status.dwLength = sizeof(status);
    GlobalMemoryStatus(&status);
    EXPECT_EQ(status.dwLength, sizeof(status));
    EXPECT_LE(status.dwMemoryLoad, 100u);
    EXPECT_GT(status.dwTotalPhys, SIZE_T{64} << 20);
    EXPECT_LE(status.dwAvailPhys, status.dwTotalPhys);
    EXPECT_GT(status.dwAvailPhys, 0u);
    EXPECT_GT(status.dwTotalVirtual, SIZE_T{1} << 30);
    EXPECT_LT(status.dwAvailVirtual, status.dwTotalVirtual);
}

TEST(Version, IsGivenForTheLongerFormsSizeAndNoOther)
{
    OSVERSIONINFOEXW version{};
    const auto get = [&](DWORD size) {
        version = {.dwOSVersionInfoSize = size};
        return GetVersionExW(reinterpret_cast<LPOSVERSIONINFOW>(&version));
    };
    for (const DWORD size : {0u, 275u, 283u, 285u}) {
        EXPECT_FALSE(get(size)) << size;
        EXPECT_EQ(version.dwMajorVersion, 0u);
    }
    SetLastError(77);
    ASSERT_TRUE(get(sizeof(version)));
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_EQ(version.dwOSVersionInfoSize, sizeof(version));
    EXPECT_GE(version.dwMajorVersion, 5u);
    EXPECT_GT(version.dwBuildNumber, 2000u);
    EXPECT_EQ(version.dwPlatformId, DWORD{VER_PLATFORM_WIN32_NT});
    EXPECT_NE(version.wProductType, 0);
}

static_assert(sizeof(OSVERSIONINFOEXW) == 284);
static_assert(sizeof(MEMORYSTATUS) == 8 + 6 * sizeof(SIZE_T) && sizeof(SYSTEMTIME) == 16);

} // namespace
