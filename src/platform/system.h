#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace vireo {

/// The named lock that only one running copy of the program holds. Released by the kernel when the
/// holder dies. User-interface thread.
class InstanceLock {
public:
    virtual ~InstanceLock() = default;
    enum class Result { Acquired, HeldByOther, Failed };
    /// Never waits. Failed: the lock file cannot be made; `Reason()` says why.
    virtual Result Acquire() = 0;
    /// Harmless when not held.
    virtual void Release() = 0;
    virtual std::string Reason() const = 0;
};

/// Folders of this user. Texts are UTF-8, without a trailing separator.
class Paths {
public:
    virtual ~Paths() = default;
    /// Per-user application data. Empty when the system names none.
    virtual std::string ApplicationData() const = 0;
    /// The process's working directory; none when it is gone or longer than 255 characters.
    virtual std::optional<std::string> WorkingDirectory() const = 0;
    /// The folder behind a drive letter ('c'..'z', lower case); none, with a text that names the drive,
    /// when it has not been given one.
    virtual std::optional<std::string> Drive(char cLetter, std::string& strError) const = 0;
};

/// Text of the settings file: code page 932 bytes outside, UTF-8 inside.
/// A byte that is no code page 932 text becomes U+10FF00 + byte, and comes back as that byte.
class TextEncoding {
public:
    virtual ~TextEncoding() = default;
    /// Never fails.
    virtual std::string Decode(std::string_view strBytes) const = 0;
    /// None when the text holds a character that code page 932 lacks.
    virtual std::optional<std::string> Encode(std::string_view strText) const = 0;
};

} // namespace vireo
