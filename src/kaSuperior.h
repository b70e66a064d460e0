#ifndef KA_SUPERIOR_H
#define KA_SUPERIOR_H

/// Base of every object that can report a numbered message: a class message id and the application
/// object that owns the message catalogues.
class CkaSuperior {
 public:
  /// The class id of an object that has no block of messages.
  static constexpr unsigned int kNoClassMsgID = 999999;

  /// Without a parent, id 999999.
  CkaSuperior();
  /// \param parent the application object (a CkaGeneralApplication), not owned.
  explicit CkaSuperior(void* parent);
  virtual ~CkaSuperior();
  CkaSuperior(const CkaSuperior&) = default;
  CkaSuperior& operator=(const CkaSuperior&) = default;

  unsigned int GetClassMsgID() const;

  /// Hands the pair (own class id, ID) to the parent, in this order: the class id takes the place
  /// of the message number. Catalogues in use were written for the exchanged pair. Without a parent
  /// nothing happens.
  void SendErrMsg(unsigned int ID);
  /// As SendErrMsg, to the standard messages.
  void SendStdMsg(unsigned int ID);

  bool bHasMessageParent;
  void* MessageParent;
  unsigned int _KA_THISCLASS_MSG_ID;
};

#endif
