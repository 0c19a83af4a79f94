#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>

#include "support/output_capture.h"
#include "robocomm/files.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/temp_dir.h"

namespace {

using robotest::captureOutput;
using testing::HasSubstr;

const std::string kDecryptFinalError =
    "An error occurred during the encryption/decryption process. [Error Code: 4] Decryption finalization failed.\n";

std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

class FileStoreTest : public testing::Test {
protected:
    void SetUp() override { API_GenerateKey(); }

    std::string pathOf(const std::string& name) const { return dir_.path() + "/" + name; }

    robotest::TempDir dir_;
};

struct SaveCase {
    std::string text;
    size_t fileSize;
};

TEST_F(FileStoreTest, SavedTextHasIvThenPaddedCipherAndReadsBack) {
    const SaveCase cases[] = {
        {"", 32},
        {std::string(15, 'a'), 32},
        {std::string(16, 'b'), 48},
        {std::string("{\"zero\":\"\0\"}", 12), 32},
        {std::string(100, 'c'), 128},
    };
    const std::string path = pathOf("store.bin");
    for (const SaveCase& c : cases) {
        SCOPED_TRACE(c.text.size());
        const auto saved = captureOutput([&] { API_FileSave(c.text, path, key, iv); });
        EXPECT_EQ(saved.out, "Data encrypted and saved to " + path + "\n");
        EXPECT_EQ(saved.err, "");

        const std::string bytes = fileBytes(path);
        ASSERT_EQ(bytes.size(), c.fileSize);
        EXPECT_EQ(bytes.substr(0, 16), std::string(reinterpret_cast<const char*>(iv), 16));

        std::string read;
        const auto reading = captureOutput([&] { read = API_FileRead(path, key); });
        EXPECT_EQ(read, c.text);
        EXPECT_EQ(reading.err, "");
    }
}

TEST_F(FileStoreTest, FileCarriesItsOwnIv) {
    unsigned char otherIv[16];
    std::fill(std::begin(otherIv), std::end(otherIv), 0x5a);
    const std::string path = pathOf("own-iv.bin");
    captureOutput([&] { API_FileSave("map edit", path, key, otherIv); });
    EXPECT_EQ(fileBytes(path).substr(0, 16), std::string(16, '\x5a'));
    std::string read;
    captureOutput([&] { read = API_FileRead(path, key); });
    EXPECT_EQ(read, "map edit");
}

TEST_F(FileStoreTest, UndecipherableFileReadsEmptyAfterFinalisationError) {
    const std::string path = pathOf("store.bin");
    unsigned char otherKey[16];
    std::copy(std::begin(key), std::end(key), otherKey);
    otherKey[0] ^= 0x01;
    struct Case {
        const char* name;
        std::function<void()> prepare;
        const unsigned char* readKey;
    };
    const Case cases[] = {
        {"another key", [&] { captureOutput([&] { API_FileSave("{\"Request\":{}}", path, key, iv); }); }, otherKey},
        {"iv only", [&] { writeBytes(path, std::string(16, '\x01')); }, key},
        {"partial block", [&] { writeBytes(path, std::string(20, '\x01')); }, key},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        c.prepare();
        std::string read = "untouched";
        const auto output = captureOutput([&] { read = API_FileRead(path, c.readKey); });
        EXPECT_EQ(read, "");
        EXPECT_EQ(output.err, kDecryptFinalError);
    }
}

TEST_F(FileStoreTest, FileShorterThanItsIvThrowsLengthError) {
    const std::string path = pathOf("short.bin");
    writeBytes(path, "12345");
    try {
        API_FileRead(path, key);
        FAIL() << "no exception";
    } catch (const std::length_error& e) {
        EXPECT_STREQ(e.what(), "cannot create std::vector larger than max_size()");
    }
}

TEST_F(FileStoreTest, MissingFileReadsEmptyWithMessage) {
    std::string read = "untouched";
    const auto output = captureOutput([&] { read = API_FileRead(pathOf("missing.bin"), key); });
    EXPECT_EQ(read, "");
    EXPECT_EQ(output.err, "Failed to open file for reading.\n");
    EXPECT_EQ(output.out, "");
}

TEST_F(FileStoreTest, UnopenableFileEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string path = pathOf("no-such-folder/store.bin");
    EXPECT_EXIT(API_FileSave("text", path, key, iv), testing::ExitedWithCode(1),
                "^Failed to open file for writing\\.\n$");
}

// The receive thread is joinable then; ending the process must still give 1.
TEST_F(FileStoreTest, UnopenableFileEndsTheProcessWhileTheServerRuns) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string path = pathOf("no-such-folder/store.bin");
    EXPECT_EXIT(
        {
            start_server();
            API_FileSave("text", path, key, iv);
        },
        testing::ExitedWithCode(1), "Failed to open file for writing\\.\n");
}

TEST_F(FileStoreTest, ExistenceFollowsStatSilently) {
    const std::string file = pathOf("present.txt");
    writeBytes(file, "x");
    struct Case {
        std::string path;
        bool exists;
    };
    const Case cases[] = {{file, true}, {dir_.path(), true}, {pathOf("absent"), false}};
    for (const Case& c : cases) {
        bool exists = !c.exists;
        const auto output = captureOutput([&] { exists = API_FileExist(c.path); });
        EXPECT_EQ(exists, c.exists) << c.path;
        EXPECT_EQ(output.out + output.err, "");
    }
}

TEST_F(FileStoreTest, DeleteReportsEachOutcome) {
    const std::string file = pathOf("doomed.bin");
    writeBytes(file, "x");
    const auto deleted = captureOutput([&] { API_FileDelete(file); });
    EXPECT_EQ(deleted.out, "File " + file + " deleted successfully.\n");
    EXPECT_EQ(deleted.err, "");
    EXPECT_FALSE(std::filesystem::exists(file));

    const auto missing = captureOutput([&] { API_FileDelete(file); });
    EXPECT_EQ(missing.err, "File " + file + " does not exist.\n");
    EXPECT_EQ(missing.out, "");

    // remove refuses a folder that still has contents.
    const std::string folder = pathOf("full");
    std::filesystem::create_directory(folder);
    writeBytes(folder + "/inside", "x");
    const auto refused = captureOutput([&] { API_FileDelete(folder); });
    EXPECT_EQ(refused.err, "Failed to delete file " + folder + ".\n");
    EXPECT_EQ(refused.out, "");
    EXPECT_TRUE(std::filesystem::exists(folder));
}

TEST_F(FileStoreTest, StringIsSavedInTheClear) {
    const std::string path = pathOf("plain.txt");
    writeBytes(path, "an older and much longer content");
    const auto saved = captureOutput([&] { saveStringToFile(path, "line one\nline two"); });
    EXPECT_EQ(saved.out, "String successfully saved to " + path + "\n");
    EXPECT_EQ(fileBytes(path), "line one\nline two");

    const std::string unopenable = pathOf("missing-folder/plain.txt");
    const auto failed = captureOutput([&] { saveStringToFile(unopenable, "text"); });
    EXPECT_EQ(failed.err, "Unable to open file for writing: " + unopenable + "\n");
    EXPECT_EQ(failed.out, "");
}

}  // namespace
