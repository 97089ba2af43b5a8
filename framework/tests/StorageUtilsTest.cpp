#include "services/StorageUtils.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include "TestSupport.h"
#include <gtest/gtest.h>

// One test: the data folder is process state, and its first use is what is being tested.
TEST(StorageUtils, DataFolderIsMadeOnFirstUseAndMovesOnlyToAUsableFolder)
{
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path()));

    const QString first = StorageUtils::dataFolder();
    EXPECT_EQ(first, StorageUtils::defaultDataFolder());
    EXPECT_TRUE(first.startsWith(home.path() + "/")) << first.toStdString();
    EXPECT_TRUE(first.endsWith("/data"));
    EXPECT_TRUE(QFileInfo(first).isDir());

    QString error;
    const QString nested = home.filePath("a/b/c");
    ASSERT_TRUE(StorageUtils::setDataFolder(nested, &error)) << error.toStdString();
    EXPECT_TRUE(QFileInfo(nested).isDir());
    EXPECT_EQ(StorageUtils::dataFolder(), nested);

    // A file where the folder should be, or no path at all: refused, the folder in use stays.
    QFile blocker(home.filePath("file"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    EXPECT_FALSE(StorageUtils::setDataFolder(blocker.fileName(), &error));
    EXPECT_EQ(error, "cannot create data folder " + blocker.fileName());
    EXPECT_FALSE(StorageUtils::setDataFolder(blocker.fileName() + "/below", &error));
    EXPECT_FALSE(StorageUtils::setDataFolder("", &error));
    EXPECT_EQ(StorageUtils::dataFolder(), nested);

    // A relative path is kept absolute: the working folder may change later.
    const QString before = QDir::currentPath();
    QDir::setCurrent(home.path());
    ASSERT_TRUE(StorageUtils::setDataFolder("rel", &error));
    QDir::setCurrent(before);
    EXPECT_EQ(StorageUtils::dataFolder(), home.filePath("rel"));
    qunsetenv("XDG_DATA_HOME");
}
