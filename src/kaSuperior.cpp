#include "kaSuperior.h"

#include "kaGeneralApplication.h"

CkaSuperior::CkaSuperior()
    : bHasMessageParent(false), MessageParent(nullptr), _KA_THISCLASS_MSG_ID(kNoClassMsgID) {}

CkaSuperior::CkaSuperior(void* parent)
    : bHasMessageParent(true), MessageParent(parent), _KA_THISCLASS_MSG_ID(kNoClassMsgID) {}

CkaSuperior::~CkaSuperior() = default;

unsigned int CkaSuperior::GetClassMsgID() const {
  return _KA_THISCLASS_MSG_ID;
}

void CkaSuperior::SendErrMsg(unsigned int ID) {
  if (MessageParent == nullptr) return;
  static_cast<CkaGeneralApplication*>(MessageParent)->SendErrMsg(GetClassMsgID(), ID);
}

void CkaSuperior::SendStdMsg(unsigned int ID) {
  if (MessageParent == nullptr) return;
  static_cast<CkaGeneralApplication*>(MessageParent)->SendStdMsg(GetClassMsgID(), ID);
}
