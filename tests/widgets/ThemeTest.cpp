#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QImage>
#include <QImageReader>
#include <algorithm>
#include <utility>

#include "widgets/theme/Theme.h"
#include "widgets/theme/TitleButtons.h"

namespace {

struct PictureSize {
  const char* name;
  int width;
  int height;
};

constexpr PictureSize kPictures[] = {
    {"action-btn", 124, 44},
    {"activity-selected", 41, 30},
    {"actlist-over", 80, 32},
    {"bottombar-addlayer", 44, 44},
    {"bottombar-addwindow", 44, 44},
    {"comfirm_btn", 62, 32},
    {"layer-delete", 16, 16},
    {"layer-edit", 16, 16},
    {"layer-hover", 284, 44},
    {"layer-invisible", 16, 16},
    {"layer-normal", 284, 44},
    {"layer-texticon", 14, 15},
    {"layer-visible", 16, 12},
    {"menu_add", 130, 176},
    {"select-unfold", 7, 12},
    {"test-image", 215, 121},
    {"test", 480, 350},
    {"topbar-close", 16, 16},
    {"topbar-logo", 42, 30},
    {"topbar-max", 16, 16},
    {"topbar-min", 16, 16},
    {"user-exit", 16, 16},
    {"user-unfold", 7, 4},
    {"window-add", 210, 136},
    {"window-selected", 16, 12},
    {"tessaly-logo", 192, 192},
};

}  // namespace

// Whatever the language of the session: the program speaks Chinese, and so do its file choosers.
TEST(Theme, QtsOwnDialogsSpeakChinese) {
  PrepareTheme();
  for (const auto& [context, text] :
       {std::pair("QFileDialog", "&Open"), std::pair("QFileDialog", "Look in:"),
        std::pair("QPlatformTheme", "Cancel"), std::pair("QColorDialog", "Hu&e:")}) {
    const QString shown = QCoreApplication::translate(context, text);
    EXPECT_NE(shown, QLatin1String(text)) << context;
    EXPECT_TRUE(std::any_of(shown.begin(), shown.end(), [](QChar unit) {
      return unit.script() == QChar::Script_Han;
    })) << shown.toStdString();
  }
}

TEST(Theme, AllTwentySixPicturesAreCompiledInAtTheirSizes) {
  ASSERT_EQ(std::size(kPictures), 26u);
  for (const PictureSize& picture : kPictures) {
    const QString path = QStringLiteral(":/orvane/qietu/%1.png").arg(QLatin1String(picture.name));
    EXPECT_EQ(QImageReader(path).size(), QSize(picture.width, picture.height)) << picture.name;
    EXPECT_FALSE(QImage(path).isNull()) << picture.name;
  }
}

TEST(Theme, TheStyleSheetOfTitleButtonsIsThePattern) {
  EXPECT_EQ(TitleButtonStyle(QStringLiteral("m_BtnExit"), QStringLiteral("topbar-close.png")),
            QStringLiteral(
                "QPushButton#m_BtnExit\n{\n\tborder: none;\n\tmin-height: 16px;\n\tmin-width:  "
                "16px;\n\tmax-height: 16px;\n\tmax-width:  16px;\n\tbackground:url(:/orvane/"
                "qietu/topbar-close.png);\n\tbackground-repeat: no-repeat;\n\t"
                "background-position: center;\n}"));
  EXPECT_TRUE(
      TitleButtonStyle(QStringLiteral("m"), QStringLiteral("p"), QStringLiteral("margin: 5px;"))
          .contains(QStringLiteral("max-width:  16px;\n\tmargin: 5px;\n\tbackground")));
}
