// CString::Arg on arbitrary texts, and value maps driven by arbitrary
// operation sequences checked against a plain model of ordered entries.

#include "FuzzInput.h"
#include "VornNumeric.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace
{
struct Lowest
{
    int number = 100;
    std::size_t count = 0;
    std::size_t tokenLength = 0; // of all its occurrences ("%07" takes three characters)
};

// Finds the placeholders of the lowest number, the way a host reads them:
// '%' and one or two digits naming 1..99.
Lowest LowestPlaceholder(const std::string& text)
{
    Lowest lowest;
    for (std::size_t at = 0; at + 1 < text.size(); ++at)
    {
        if (text[at] != '%' || text[at + 1] < '0' || text[at + 1] > '9')
            continue;
        int number = text[at + 1] - '0';
        std::size_t length = 2;
        if (at + 2 < text.size() && text[at + 2] >= '0' && text[at + 2] <= '9')
            number = number * 10 + (text[at + 2] - '0'), length = 3;
        if (number < 1)
            continue;
        if (number < lowest.number)
            lowest = Lowest{number, 0, 0};
        if (number == lowest.number)
            ++lowest.count, lowest.tokenLength += length;
        at += length - 1;
    }
    return lowest;
}

void FuzzArg(FuzzInput& in)
{
    const std::string text = in.Text(64);
    TOLX::CString s(text.c_str(), TOLX::ENCODING_UTF8);
    std::string before = s.c_str(); // the text ends at its first NUL byte
    for (int call = 0; call < 4 && !in.Empty(); ++call)
    {
        const Lowest lowest = LowestPlaceholder(before);
        const auto value = static_cast<TOLX::int64>(in.Raw<std::int32_t>());
        s.Arg(value, 0);
        const std::string after = s.c_str();
        if (lowest.number == 100)
            FUZZ_CHECK(after == before);
        else
            FUZZ_CHECK(after.size() + lowest.tokenLength ==
                       before.size() + lowest.count * std::to_string(value).size());
        before = after;
    }
}

void FuzzValueMap(FuzzInput& in)
{
    TOLX::CValueMap map;
    std::vector<std::pair<std::string, double>> model;
    while (!in.Empty())
    {
        const std::string key(1, static_cast<char>('a' + in.Below(6)));
        const unsigned op = in.Below(4);
        if (op <= 1)
        {
            const double value = static_cast<double>(in.Raw<std::int16_t>());
            map.SetEntry(key.c_str(), new TOLX::CValueDouble(value));
            auto found = std::find_if(model.begin(), model.end(), [&](const auto& e) { return e.first == key; });
            if (found != model.end())
                found->second = value;
            else
                model.emplace_back(key, value);
        }
        else if (op == 2)
        {
            const bool removed = map.RemoveEntry(key.c_str());
            auto found = std::find_if(model.begin(), model.end(), [&](const auto& e) { return e.first == key; });
            FUZZ_CHECK(removed == (found != model.end()));
            if (found != model.end())
                model.erase(found);
        }
        else
        {
            std::unique_ptr<TOLX::CValue> clone(map.Clone());
            FUZZ_CHECK(clone->Equal(map) && map.Equal(*clone));
            TOLX::CValueMap outer;
            outer.SetEntry("inner", clone.release());
            TOLX::CValueMap copy(outer);
            FUZZ_CHECK(copy.Entry("inner")->Map().Size() == map.Size());
        }
        const auto keys = map.Keys();
        FUZZ_CHECK(keys.size() == model.size());
        for (std::size_t i = 0; i < keys.size(); ++i)
        {
            FUZZ_CHECK(keys[i].ToString() == model[i].first);
            FUZZ_CHECK(map.Entry(keys[i])->Double() == model[i].second);
        }
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput in(data, size);
    if (in.Byte() % 2 == 0)
        FuzzArg(in);
    else
        FuzzValueMap(in);
    return 0;
}
