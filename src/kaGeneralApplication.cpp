#include "kaGeneralApplication.h"

#include "ka-tts-server.h"
#include "kaSuperior.h"

CkaGeneralApplication::CkaGeneralApplication() : _KA_THISCLASS_MSG_ID(CkaSuperior::kNoClassMsgID) {}

CkaGeneralApplication::~CkaGeneralApplication() = default;

void CkaGeneralApplication::SendErrMsg(unsigned int ID) {
  SendErrMsg(ID, _KA_THISCLASS_MSG_ID);
}

void CkaGeneralApplication::SendErrMsg(unsigned int ID, unsigned int classid) {
  ErrMsg.Cerr(GetGlobalLanguage(), classid, ID);
}

void CkaGeneralApplication::SendStdMsg(unsigned int ID) {
  SendStdMsg(ID, _KA_THISCLASS_MSG_ID);
}

void CkaGeneralApplication::SendStdMsg(unsigned int ID, unsigned int classid) {
  StdMsg.Cout(GetGlobalLanguage(), classid, ID);
}

int CkaGeneralApplication::SetGlobalLanguage(unsigned int language) {
  GlbLng = static_cast<std::int32_t>(language);
  return GlbLng;
}

int CkaGeneralApplication::GetGlobalLanguage() const {
  return GlbLng;
}
