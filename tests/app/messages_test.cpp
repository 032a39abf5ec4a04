#include "app/messages.h"
#include "app/string_table.h"

#include "support/temp_dir_test.h"

using MessagesTest = TempDirTest;

TEST_F(MessagesTest, NewErrMsgShowsTheTableTextCaptionedWithTheProductName)
{
    EXPECT_EQ(NewErrMsg(5035), IDOK);
    ASSERT_EQ(host.shown().size(), 1u);
    EXPECT_EQ(host.shown()[0].text, "Format error on input file.");
    EXPECT_EQ(host.shown()[0].caption, "Ondrava");
    EXPECT_EQ(host.shown()[0].style, static_cast<unsigned>(MB_OK));
}

TEST_F(MessagesTest, ErrMsgFormatsIntoTwoHundredFiftySixCharacters)
{
    EXPECT_EQ(ErrMsg("No file %s", "/tmp/x.tmp"), 0);
    EXPECT_EQ(host.shown().back().text, "No file /tmp/x.tmp");
    EXPECT_EQ(host.shown().back().style, static_cast<unsigned>(MB_OK | MB_ICONEXCLAMATION));

    const std::string longText(400, 'a');
    ErrMsg("%s", longText.c_str());
    EXPECT_EQ(host.shown().back().text.size(), 255u);
    TestErrMsg("%s", longText.c_str());
    EXPECT_EQ(host.shown().back().text.size(), 127u);
}

TEST_F(MessagesTest, QuestionsReturnTheAnswerGiven)
{
    host.scriptAnswers({IDNO, IDYES});
    EXPECT_EQ(ask_yes_no(nullptr, "Sure?", "Title"), IDNO);
    EXPECT_EQ(ask_yes_no(nullptr, "Sure?", "Title"), IDYES);
    EXPECT_EQ(host.shown()[0].style, static_cast<unsigned>(MB_YESNO | MB_ICONQUESTION));
    host.setDefaultAgree(false);
    EXPECT_EQ(message_box(nullptr, "Close?", "x", MB_OKCANCEL), IDCANCEL);
    host.setDefaultAgree(true);
    EXPECT_EQ(message_box(nullptr, "Close?", "x", MB_OKCANCEL), IDOK);
}

TEST_F(MessagesTest, WndErrMsgSetsTheMainWindowCaption)
{
    WndErrMsg("Recording...");
    EXPECT_EQ(host.title(), "Recording...");
}

TEST(StringTable, KeepsTheProgramsWordingExactly)
{
    EXPECT_EQ(load_string(5031), "Cannot write output WAVE file.");
    EXPECT_EQ(load_string(5037), "'fmt' chunk too small on input file.");
    EXPECT_EQ(load_string(5070), "Was not able to read from file 'clipbord.clp'");
    EXPECT_EQ(load_string(1898), "Zoom In horizontal azis\nZoom In");
    EXPECT_EQ(load_string(11904), "Move end of selctiion earlier\nR hilight <-");
    EXPECT_EQ(load_string(10813), "invrec");
    EXPECT_EQ(load_string(9428), "invrev");
    EXPECT_FALSE(has_string(5033));
    EXPECT_EQ(load_string(5033), "");
}

TEST(StringTable, HoldsEveryMessageOfTheHeaderCheck)
{
    for (int id : {5032, 5034, 5035, 5036, 5037, 5038, 5039, 5040, 5041, 5042, 5043, 5044})
        EXPECT_TRUE(has_string(id)) << id;
}
