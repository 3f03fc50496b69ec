#include "base/FileAttributes.h"

#include "support/FailingCall.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>

namespace QMT::Test
{

namespace
{

/// An access control list as the system keeps it: the owner and the group may all, user 12 may read, others may
/// nothing.
const std::string LIST_OF_USER_12("\x02\x00\x00\x00"
                                  "\x01\x00\x06\x00\xff\xff\xff\xff"
                                  "\x02\x00\x04\x00\x0c\x00\x00\x00"
                                  "\x04\x00\x06\x00\xff\xff\xff\xff"
                                  "\x10\x00\x06\x00\xff\xff\xff\xff"
                                  "\x20\x00\x00\x00\xff\xff\xff\xff",
                                  44);
const char* const ACCESS_LIST = "system.posix_acl_access";

using Lines = std::vector<std::string>;

class FileAttributes : public testing::Test
{
protected:
    FileAttributes()
        : from(directory.write("from", "")), to(directory.write("to", "")),
          file(::open(to.c_str(), O_WRONLY | O_CLOEXEC))
    {
        ::chmod(from.c_str(), 0640);
        ::chmod(to.c_str(), 0600);
    }

    ~FileAttributes() override
    {
        ::close(file);
    }

    FileAttributes(const FileAttributes&) = delete;
    FileAttributes& operator=(const FileAttributes&) = delete;
    FileAttributes(FileAttributes&&) = delete;
    FileAttributes& operator=(FileAttributes&&) = delete;

    struct stat status() const
    {
        struct stat status = {};
        ::fstat(file, &status);
        return status;
    }

    std::string attribute(const char* name) const
    {
        std::string value(256, '\0');
        const ssize_t size = ::fgetxattr(file, name, value.data(), value.size());
        return size < 0 ? "none" : value.substr(0, static_cast<std::size_t>(size));
    }

    static bool set(const std::string& path, const char* name, const std::string& value)
    {
        return ::setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
    }

    TemporaryDirectory directory;
    const std::string from;
    const std::string to;
    const int file;
};

TEST_F(FileAttributes, CopySetsTheMode)
{
    ::chmod(from.c_str(), 04751);

    EXPECT_EQ(copyAttributes(from, file, to), Lines());

    EXPECT_EQ(status().st_mode & 07777, 04751U);
}

TEST_F(FileAttributes, CopySetsOwnerAndGroup)
{
    if (::chown(from.c_str(), 12, 34) != 0)
    {
        GTEST_SKIP() << "only root may give a file away";
    }
    ::chmod(from.c_str(), 06755);

    EXPECT_EQ(copyAttributes(from, file, to), Lines());

    EXPECT_EQ(status().st_uid, 12U);
    EXPECT_EQ(status().st_gid, 34U);
    EXPECT_EQ(status().st_mode & 07777, 06755U);
}

TEST_F(FileAttributes, CopyReportsALostOwnerAndGroup)
{
    if (::chown(from.c_str(), 12, 34) != 0)
    {
        GTEST_SKIP() << "only root may give a file away";
    }
    const FailingCall failing("fchown", to, EPERM);

    EXPECT_EQ(copyAttributes(from, file, "NAME"),
              Lines({"the owner of NAME could not be kept", "the group of NAME could not be kept"}));
}

TEST_F(FileAttributes, CopyReportsALostOwnerAlone)
{
    if (::chown(from.c_str(), 12, ::getgid()) != 0)
    {
        GTEST_SKIP() << "only root may give a file away";
    }
    const FailingCall failing("fchown", to, EPERM);

    EXPECT_EQ(copyAttributes(from, file, "NAME"), Lines({"the owner of NAME could not be kept"}));
}

TEST_F(FileAttributes, CopySkipsAnEqualOwnerAndGroup)
{
    const FailingCall failing("fchown", to, EPERM);

    EXPECT_EQ(copyAttributes(from, file, to), Lines());

    EXPECT_EQ(failing.failures(), 0);
}

TEST_F(FileAttributes, CopyReportsALostGroupAlone)
{
    if (::chown(from.c_str(), ::getuid(), 34) != 0)
    {
        GTEST_SKIP() << "only root may give a file away";
    }
    const FailingCall failing("fchown", to, EPERM);

    EXPECT_EQ(copyAttributes(from, file, "NAME"), Lines({"the group of NAME could not be kept"}));
}

TEST_F(FileAttributes, CopySetsTheGroupWhenTheOwnerIsLost)
{
    if (::chown(from.c_str(), 12, 34) != 0 || ::chown(to.c_str(), 56, 78) != 0)
    {
        GTEST_SKIP() << "only root may give a file away";
    }
    const FailingCall failing("fchown", to, EPERM, 0, 1);

    EXPECT_EQ(copyAttributes(from, file, "NAME"), Lines({"the owner of NAME could not be kept"}));

    EXPECT_EQ(status().st_uid, 56U);
    EXPECT_EQ(status().st_gid, 34U);
}

TEST_F(FileAttributes, CopyReportsALostMode)
{
    const FailingCall failing("fchmod", to, EPERM);

    EXPECT_EQ(copyAttributes(from, file, "NAME"), Lines({"the mode of NAME could not be kept"}));
}

TEST_F(FileAttributes, CopySetsExtendedAttributes)
{
    if (!set(from, "user.label", "blue"))
    {
        GTEST_SKIP() << "the file system has no extended attributes";
    }
    ASSERT_TRUE(set(from, "user.empty", ""));

    EXPECT_EQ(copyAttributes(from, file, to), Lines());

    EXPECT_EQ(attribute("user.label"), "blue");
    EXPECT_EQ(attribute("user.empty"), "");
}

TEST_F(FileAttributes, CopyRemovesAttributesMissingInTheSource)
{
    if (!set(to, "user.label", "blue"))
    {
        GTEST_SKIP() << "the file system has no extended attributes";
    }

    EXPECT_EQ(copyAttributes(from, file, to), Lines());

    EXPECT_EQ(attribute("user.label"), "none");
}

TEST_F(FileAttributes, CopyReportsALostExtendedAttribute)
{
    if (!set(from, "user.label", "blue"))
    {
        GTEST_SKIP() << "the file system has no extended attributes";
    }
    const FailingCall failing("fsetxattr", to, EPERM);

    EXPECT_EQ(copyAttributes(from, file, "NAME"), Lines({"the attribute user.label of NAME could not be kept"}));
}

TEST_F(FileAttributes, CopySkipsAnEqualExtendedAttribute)
{
    if (!set(from, "user.label", "blue") || !set(to, "user.label", "blue"))
    {
        GTEST_SKIP() << "the file system has no extended attributes";
    }
    const FailingCall failing("fsetxattr", to, EPERM);

    EXPECT_EQ(copyAttributes(from, file, to), Lines());
}

TEST_F(FileAttributes, CopySetsAnAccessControlList)
{
    if (!set(from, ACCESS_LIST, LIST_OF_USER_12))
    {
        GTEST_SKIP() << "the file system has no access control lists";
    }

    EXPECT_EQ(copyAttributes(from, file, to), Lines());

    EXPECT_EQ(attribute(ACCESS_LIST), LIST_OF_USER_12);
    EXPECT_EQ(status().st_mode & 07777, 0660U);
}

TEST_F(FileAttributes, CopyRemovesAnInheritedAccessControlList)
{
    if (!set(to, ACCESS_LIST, LIST_OF_USER_12))
    {
        GTEST_SKIP() << "the file system has no access control lists";
    }

    EXPECT_EQ(copyAttributes(from, file, to), Lines());

    EXPECT_EQ(attribute(ACCESS_LIST), "none");
    EXPECT_EQ(status().st_mode & 07777, 0640U);
}

TEST_F(FileAttributes, CopyChangesNothingWithoutASource)
{
    EXPECT_EQ(copyAttributes(directory.path("missing"), file, to), Lines());

    EXPECT_EQ(status().st_mode & 07777, 0600U);
}

} // namespace

} // namespace QMT::Test
