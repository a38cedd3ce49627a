// A plain main for the fuzzed functions: runs the corpus, then a stated number of mutations of it, always the
// same ones. For every build; the coverage-guided search is scripts/fuzz.
//
//   fuzz_NAME RUNS FOLDER...

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t uiBytes);

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> ReadCorpus(int iFolders, char** ppFolders)
{
    std::vector<std::filesystem::path> files;
    for (int i = 0; i < iFolders; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(ppFolders[i]))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<Bytes> corpus;
    for (const auto& file : files) {
        std::ifstream stream(file, std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return corpus;
}

void Mutate(Bytes& bytes, const std::vector<Bytes>& corpus, std::mt19937& random)
{
    const auto place = [&] { return static_cast<std::ptrdiff_t>(random() % (bytes.size() + 1)); };
    switch (random() % 5) {
    case 0: bytes.insert(bytes.begin() + place(), static_cast<std::uint8_t>(random())); break;
    case 1:
        if (!bytes.empty())
            bytes[random() % bytes.size()] ^= static_cast<std::uint8_t>(1U << random() % 8);
        break;
    case 2: bytes.resize(static_cast<std::size_t>(place())); break;
    case 3: { // a piece of another one
        const Bytes& other = corpus[random() % corpus.size()];
        const std::size_t uiBegin = random() % (other.size() + 1);
        const std::size_t uiCount = std::min<std::size_t>(other.size() - uiBegin, random() % 32);
        const auto begin = other.begin() + static_cast<std::ptrdiff_t>(uiBegin);
        bytes.insert(bytes.begin() + place(), begin, begin + static_cast<std::ptrdiff_t>(uiCount));
        break;
    }
    default: { // once more what is there
        const Bytes copy = bytes;
        bytes.insert(bytes.begin() + place(), copy.begin(),
            copy.begin() + static_cast<std::ptrdiff_t>(random() % (std::min<std::size_t>(copy.size(), 64) + 1)));
    }
    }
    if (bytes.size() > 4096)
        bytes.resize(4096);
}

} // namespace

int main(int argc, char** argv)
{
    const long iRuns = argc > 2 ? std::atol(argv[1]) : -1;
    const std::vector<Bytes> corpus = iRuns < 0 ? std::vector<Bytes> {} : ReadCorpus(argc - 2, argv + 2);
    if (corpus.empty()) {
        std::fprintf(stderr, "%s RUNS FOLDER...: needs a corpus\n", argv[0]);
        return 2;
    }
    for (const Bytes& bytes : corpus)
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    std::mt19937 random(20240229);
    for (long i = 0; i < iRuns; ++i) {
        Bytes bytes = corpus[random() % corpus.size()];
        for (unsigned int uiTimes = random() % 8; uiTimes > 0; --uiTimes)
            Mutate(bytes, corpus, random);
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%zu inputs and %ld mutations\n", corpus.size(), iRuns);
    return 0;
}
