// The two exported instance slots that the application fills: one definition each, in the
// library, so that every module of the process sees the same pointer.
#include <nybase/base/ILMDBService.h>
#include <nybase/base/INotifyMgr.h>

INotifyMgr* INotifyMgr::m_pInstance = nullptr;
ILMDBService* ILMDBService::m_pInstance = nullptr;
