#include "app/desktop/FileManager.h"

#include "app/kit/AppTestKit.h"
#include "app/kit/PrivateBus.h"

#include <QClipboard>
#include <QDBusMessage>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>

namespace velloria::test
{

/// A file manager of a desktop: notes what it is asked to show.
class FakeFileManager : public QDBusVirtualObject
{
public:
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        shown = message.arguments().value(0).toStringList();
        return connection.send(message.createReply());
    }
    QStringList shown;
};

/// Whatever this machine has to open folders with is out of reach.
class FileManagerTest : public testing::Test
{
protected:
    FileManagerTest() { qputenv("PATH", mFolder.path().toUtf8() + ":/usr/bin:/bin"); }
    ~FileManagerTest() override { qputenv("PATH", mFormerPath); }

    std::filesystem::path file() const { return mFolder.path().toStdString() + "/a b#.caf"; }
    void makeOpener(const QByteArray& script) const
    {
        QFile opener(mFolder.filePath(QStringLiteral("xdg-open")));
        ASSERT_TRUE(opener.open(QIODevice::WriteOnly));
        opener.write("#!/bin/sh\n" + script);
        opener.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QDialog* dialog() const { return mWindow.findChild<QDialog*>(); }

    QTemporaryDir mFolder;
    QWidget mWindow;
    const QByteArray mFormerPath = qgetenv("PATH");
};

TEST_F(FileManagerTest, AsksTheDesktopsFileManager)
{
    PrivateBus bus;
    if (const QString problem = bus.start(); !problem.isEmpty())
        GTEST_SKIP() << qPrintable(problem);
    FakeFileManager manager;
    ASSERT_TRUE(bus.serve(manager, QStringLiteral("org.freedesktop.FileManager1"),
                          QStringLiteral("/org/freedesktop/FileManager1")));
    makeOpener("touch \"$(dirname \"$0\")/opened\"");
    FileManager::show(file(), &mWindow);
    ASSERT_TRUE(waitUntil([&] { return !manager.shown.isEmpty(); }));
    EXPECT_EQ(manager.shown, QStringList(QStringLiteral("file://%1/a%20b%23.caf").arg(mFolder.path())));
    QTest::qWait(100);
    EXPECT_FALSE(QFile::exists(mFolder.filePath(QStringLiteral("opened"))));
    EXPECT_FALSE(dialog());
}

TEST_F(FileManagerTest, LetsTheDesktopOpenTheFolderWhereNoneAnswers)
{
    makeOpener("printf %s \"$1\" > \"$(dirname \"$0\")/opened\"");
    FileManager::show(file(), &mWindow);
    QFile opened(mFolder.filePath(QStringLiteral("opened")));
    ASSERT_TRUE(waitUntil([&] { return opened.size() > 0; }));
    ASSERT_TRUE(opened.open(QIODevice::ReadOnly));
    EXPECT_EQ(opened.readAll(), "file://" + mFolder.path().toUtf8());
    QTest::qWait(100);
    EXPECT_FALSE(dialog());
}

TEST_F(FileManagerTest, ShowsThePathToBeCopiedWhereNothingOpensIt)
{
    makeOpener("exit 3");
    FileManager::show(file(), &mWindow);
    ASSERT_TRUE(waitUntil([&] { return dialog() && dialog()->isVisible(); }));
    keepPicture(*dialog(), QStringLiteral("file-manager-none"));
    EXPECT_EQ(dialog()->findChild<QLineEdit*>()->text(), mFolder.path());
    for (QPushButton* const button : dialog()->findChildren<QPushButton*>())
        if (button->text() == QStringLiteral("Copy Path"))
            button->click();
    EXPECT_EQ(QApplication::clipboard()->text(), mFolder.path());
}

} // namespace velloria::test
