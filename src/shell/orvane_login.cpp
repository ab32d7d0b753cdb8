// The login at the start, and the change of account.
#include <QScopedValueRollback>
#include <cstdlib>

#include "backend/BackendClient.h"
#include "platform/DisplayGuard.h"
#include "platform/ProcessEnd.h"
#include "shell/orvane.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/CLoginDlg.h"
#include "widgets/LoginInfoControl.h"
#include "widgets/LoginSettings.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/InformationDlg.h"

void orvane::ShowLogin() {
  if (m_loginDlg == nullptr) {
    m_loginDlg = new CLoginDlg;
  }
  ShadowOnce(m_loginDlg, &m_loginShadow, this);
  m_loginDlg->exec();
  m_loginDlg->hide();  // a program that was told to quit leaves it standing
}

void orvane::LogOut() {
  backend::Until until;
  const QScopedValueRollback<backend::Until*> out(m_logout, &until);
  int code = 0;
  m_backend->Logout(m_catalogue->userToken, &code, until);
}

void orvane::SlotLoginChange() {
  // The service is waited for in a loop of its own, in which the operator may ask once more: of a
  // service that hangs, no answer is then waited for. A second change inside the first would leave
  // the first to log the new account out again.
  if (m_changesLogin) {
    if (m_logout != nullptr) {
      m_logout->End();
    }
    return;
  }
  const QScopedValueRollback<bool> changes(m_changesLogin, true);
  if (m_isLiving) {
    InformationDlg(InformationDlg::kLiving, QString()).exec();
  }
  m_reports.BeforeLogout();
  LogOut();
  m_catalogue->userToken.clear();
  m_catalogue->loggedIn = 0;
  widgets::WriteLoginSettings({QString(), QString()});
  hide();
  ShowLogin();
  if (m_catalogue->loggedIn == 0) {
    // The workers must not run into the end of the process.
    CloseGraph();
    platform::DisplayGuard::StandDown();
    platform::LimitProcessEnd(0);
    std::exit(0);
  }
  show();
  ui.widget->SetLoginInfo(m_catalogue->userName, QPixmap());
}
