// The camera chooser, with a camera that shows one picture and without any.
#include <SDL.h>

#include <QApplication>
#include <QComboBox>

#include "sources/DeviceCatalogue.h"
#include "support/FakeCaptureLayer.h"
#include "widgets/CCamDlg.h"
#include "widgets/DialogPictures.h"
#include "widgets/theme/CustomShadowEffect.h"

namespace {

using support::DialogPictures;

// Where the combo box and its text stand in the chooser.
const std::vector<QRect> kTexts{QRect(100, 65, 150, 20)};

TEST_F(DialogPictures, CameraChooserWithACamera) {
  QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  ASSERT_EQ(0, SDL_InitSubSystem(SDL_INIT_VIDEO)) << SDL_GetError();
  support::FakeCaptureLayer layer;
  const support::InstalledCaptureLayer installed(&layer);
  layer.AddCamera("USB 摄像头")->Give();
  {
    CCamDlg dialog;
    ApplyDialogShadow(&dialog, new CustomShadowEffect);
    ExpectPicture("camera", &dialog, kTexts);
  }
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

TEST_F(DialogPictures, CameraChooserWithoutACamera) {
  QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
  support::FakeCaptureLayer layer;
  const support::InstalledCaptureLayer installed(&layer);
  CCamDlg dialog;
  ExpectPicture("camera-none", &dialog, kTexts);
}

}  // namespace
