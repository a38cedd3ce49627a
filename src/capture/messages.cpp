#include "capture/messages.h"

#include <vector>

namespace vireo {

namespace {

void Append(std::string& strText, const MessageValue& value)
{
    if (const auto* pNumber = std::get_if<std::int64_t>(&value))
        strText += std::to_string(*pNumber);
    else
        strText += std::get<std::string_view>(value);
}

bool IsConversion(std::string_view strFormat, std::size_t uiAt)
{
    return strFormat[uiAt] == '%' && uiAt + 1 < strFormat.size()
        && std::string_view("dus").find(strFormat[uiAt + 1]) != std::string_view::npos;
}

} // namespace

std::string FormatMessage(const MessageText& text, std::initializer_list<MessageValue> values)
{
    std::vector<MessageValue> all(values);
    if (text.iSite != 0)
        all.emplace_back(std::int64_t { text.iSite });

    std::string strText;
    std::size_t uiValue = 0;
    for (std::size_t i = 0; i < text.strFormat.size(); ++i) {
        if (uiValue < all.size() && IsConversion(text.strFormat, i)) {
            Append(strText, all[uiValue++]);
            ++i;
        } else {
            strText += text.strFormat[i];
        }
    }
    return strText;
}

void ShowMessage(WindowSystem& window, const MessageText& text, std::initializer_list<MessageValue> values)
{
    window.ShowMessage({ FormatMessage(text, values), std::string(text.strTitle), text.bError });
}

bool Passed(WindowSystem& window, const Error& error, const MessageText& text)
{
    if (!error.IsOk())
        ShowMessage(window, text, { error.GetTypeNumber() });
    return error.IsOk();
}

bool Passed(WindowSystem& window, const Error& error, const MessageText& text, std::size_t uiCamera)
{
    if (!error.IsOk())
        ShowMessage(window, text, { static_cast<std::int64_t>(uiCamera) + 1, error.GetTypeNumber() });
    return error.IsOk();
}

} // namespace vireo
