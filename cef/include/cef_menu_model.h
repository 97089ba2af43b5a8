#ifndef CEF_INCLUDE_CEF_MENU_MODEL_H_
#define CEF_INCLUDE_CEF_MENU_MODEL_H_

#include "include/cef_base.h"

class CEF_EXPORT CefMenuModel : public virtual CefBaseRefCounted {
 public:
  typedef cef_menu_item_type_t MenuItemType;

  virtual bool Clear() = 0;
  virtual int GetCount() = 0;
  virtual bool AddSeparator() = 0;
  virtual bool AddItem(int command_id, const CefString& label) = 0;
  virtual bool Remove(int command_id) = 0;
  virtual int GetCommandIdAt(int index) = 0;
  virtual CefString GetLabelAt(int index) = 0;
  virtual MenuItemType GetTypeAt(int index) = 0;
};

#endif
