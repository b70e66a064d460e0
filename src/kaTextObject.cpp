#include "kaTextObject.h"

CkaTextObject::CkaTextObject() {
  _KA_THISCLASS_MSG_ID = 4000;
}
