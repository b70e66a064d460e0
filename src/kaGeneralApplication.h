#ifndef KA_GENERAL_APPLICATION_H
#define KA_GENERAL_APPLICATION_H

#include "kaMessageTxt.h"

/// Base of the application object: owns the error and the standard messages and sends them in the
/// global language (GlbLng). The derived class loads the catalogues.
class CkaGeneralApplication {
 public:
  CkaGeneralApplication();
  virtual ~CkaGeneralApplication();

  /// Message `ID` of the application's own class, to standard error.
  void SendErrMsg(unsigned int ID);
  /// Message `ID` of class `classid`, to standard error.
  void SendErrMsg(unsigned int ID, unsigned int classid);
  /// Message `ID` of the application's own class, to standard output.
  void SendStdMsg(unsigned int ID);
  /// Message `ID` of class `classid`, to standard output.
  void SendStdMsg(unsigned int ID, unsigned int classid);

  /// Makes `language` the language of all later messages (0 is the catalogue's first language).
  /// \return the language now set.
  int SetGlobalLanguage(unsigned int language);
  int GetGlobalLanguage() const;

  CkaMessageTxt ErrMsg;
  CkaMessageTxt StdMsg;
  unsigned int _KA_THISCLASS_MSG_ID;
};

#endif
