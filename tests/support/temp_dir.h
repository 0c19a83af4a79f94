// A fresh folder under the system's temporary directory, removed with all its
// contents when the object goes away.
#pragma once

#include <string>

namespace robotest {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const;

private:
    std::string path_;
};

}  // namespace robotest
