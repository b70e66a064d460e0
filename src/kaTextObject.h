#ifndef KA_TEXT_OBJECT_H
#define KA_TEXT_OBJECT_H

#include "kaSuperior.h"

/// The smallest object that can report a message. Class id 4000.
class CkaTextObject : public CkaSuperior {
 public:
  CkaTextObject();
};

#endif
