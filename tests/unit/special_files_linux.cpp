// Whatever is read must be a file: a FIFO, a device or a directory is refused at once, by every
// reader in its own words.
#include "console.h"
#include "engine_fixture.h"

#include "platformlib.h"
#include "rfpulselib.h"
#include "zan-entry.h"
#include "zandatafileio.h"
#include "zanmodel.h"
#include "zanoptseq.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace
{

class SpecialFiles : public EngineTest
{
  protected:
    void SetUp() override
    {
        EngineTest::SetUp();
        std::filesystem::create_directory("folder");
        EXPECT_EQ(mkfifo("fifo", 0600), 0);
    }

    static constexpr const char *all[] = {"fifo", "folder", "/dev/zero", "/dev/null"};

    static std::string reason(const std::string &path)
    {
        return std::string(": ") + std::strerror(path == "folder" ? EISDIR : EINVAL) + "\n";
    }
};

std::string load_message(const std::string &path)
{
    ZANSpinSystemDef spin;
    ZANPulseSequenceDef seq;
    ZANRunConfig cfg;
    char message[512] = "";
    EXPECT_NE(ZANModel_LoadText(path.c_str(), &spin, &seq, &cfg, message, sizeof message),
              ZAN_MODEL_OK);
    return message;
}

} // namespace

TEST_F(SpecialFiles, AreNoInput)
{
    write_bytes("file", "x");
    std::filesystem::create_symlink("file", "link");
    EXPECT_TRUE(open_input("file"));
    EXPECT_TRUE(open_input("link"));
    for (const char *path : all) {
        errno = 0;
        EXPECT_FALSE(open_input(path)) << path;
        EXPECT_EQ(errno, std::strcmp(path, "folder") == 0 ? EISDIR : EINVAL) << path;
        EXPECT_FALSE(file_exists(path)) << path;
    }
    std::filesystem::create_symlink("nowhere", "dangling");
    EXPECT_FALSE(open_input("dangling"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(SpecialFiles, AreNoModelFiles)
{
    for (const std::string path : all) {
        EXPECT_EQ(load_message(path), "could not open '" + path + "' for reading");
        write_bytes("spin.zanmodel", "spin_system_file: " + path + "\nsequence_file: none\n");
        EXPECT_EQ(load_message("spin.zanmodel"), "could not open spin system '" + path + "'");
    }
}

TEST_F(SpecialFiles, AreNoWaveformsAndNoParameters)
{
    int ap = 2;
    double h = 1e-6, x[2], y[2];
    for (const std::string path : all) {
        for (const auto &reader : {LoadSpatialSectorPulseFile, Load2DSectorPulseFile}) {
            int read = -1;
            const Console c = captured([&] { read = reader(path.c_str(), ap); });
            EXPECT_EQ(read, 0);
            EXPECT_EQ(c.err, path + reason(path));
        }
        EXPECT_EQ(
            captured([&] { EXPECT_EQ(zanopt_load_waveform_xy(path.c_str(), ap, x, y), 0); }).err,
            path + reason(path));
        feed_stdin(path + "\n");
        EXPECT_EQ(captured([&] { fmpulseproc6(&ap, &h, x, y); }).err,
                  "fopen(parameter file)" + reason(path));
        EXPECT_EQ(captured([&] { AsciiIn_status(2, x, path.c_str()); }).err,
                  "fopen(read)" + reason(path));
    }
}

TEST_F(SpecialFiles, AreNoDensityAndNoSignalFiles)
{
    for (const std::string path : all) {
        const Console copied =
            captured([&] { EXPECT_EQ(copy_file_complete(path.c_str(), "to"), BINFH_ERR_IO); });
        EXPECT_EQ(copied.err, "fopen(src)" + reason(path));
        const Console converted =
            captured([&] { EXPECT_NE(Create_IDL_File_status(path.c_str(), "to"), DATAIO_OK); });
        EXPECT_EQ(converted.err, "fopen(input)" + reason(path));
        EXPECT_FALSE(file_is_there("to"));
        const Console profile =
            captured([&] { EXPECT_EQ(ZANWriteExpectationProfile(path.c_str(), "Iz", "to"), 0); });
        EXPECT_NE(profile.err, "");
    }
}
