#pragma once
#include "platform/video_writer.h"
#include "support/bar_code.h"

#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vireo::test {

/// What a file would hold: when each of its frames was exposed, read from the picture itself.
struct BarCodeFile {
    std::string strFileName;
    double dRate = 0.0; ///< fps
    std::vector<std::uint32_t> exposuresUs; ///< 0 = unreadable
};

/// Writers that keep the bar code of every frame instead of the frame; an outside judge of a take.
class BarCodeVideos : public VideoWriters {
public:
    Error m_openError; ///< answered by every Open
    std::unique_ptr<FlyCapture2Video> Create() override { return std::make_unique<Writer>(*this); }
    Error ReadBack(const std::string& strFile, int& iFrames) override
    {
        std::lock_guard lock(m_mutex);
        iFrames = 0;
        for (const BarCodeFile& file : m_files)
            if (PartOf(file.strFileName) == strFile)
                iFrames = static_cast<int>(file.exposuresUs.size());
        return {};
    }
    std::vector<BarCodeFile> Files() const
    {
        std::lock_guard lock(m_mutex);
        return { m_files.begin(), m_files.end() };
    }

private:
    static std::string PartOf(std::string strFile) { return strFile.insert(strFile.rfind('.'), "-0000"); }

    class Writer : public FlyCapture2Video {
    public:
        explicit Writer(BarCodeVideos& owner)
            : m_owner(owner)
        {
        }
        Error Open(const std::string& strFileName, const MJPGOption& option) override
        {
            std::lock_guard lock(m_owner.m_mutex);
            if (!m_owner.m_openError.IsOk())
                return m_owner.m_openError;
            m_pFile = &m_owner.m_files.emplace_back();
            m_pFile->strFileName = strFileName;
            m_pFile->dRate = static_cast<double>(option.frameRate);
            return {};
        }
        Error Append(const Image& image) override
        {
            if (image.GetData() == nullptr)
                return ErrorType::InvalidParameter;
            m_pFile->exposuresUs.push_back(ReadBarCode(image).value_or(0));
            return {};
        }
        Error Close() override { return {}; }
        std::vector<std::string> GetFiles() const override
        {
            if (m_pFile == nullptr)
                return {};
            return { PartOf(m_pFile->strFileName) };
        }

    private:
        BarCodeVideos& m_owner;
        BarCodeFile* m_pFile = nullptr;
    };

    mutable std::mutex m_mutex;
    std::deque<BarCodeFile> m_files; ///< elements never move
};

} // namespace vireo::test
