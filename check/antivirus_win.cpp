#include "check/antivirus.h"

#include "core/platform.h"
#include "core/win_handle.h"

#include <wbemcli.h>

namespace launcher::check {
namespace {

// Here, so that no library of GUIDs is needed. Values: the Windows SDK's wbemcli.h.
constexpr GUID kWbemLocator = {
    0x4590f811, 0x1d3a, 0x11d0, {0x89, 0x1f, 0x00, 0xaa, 0x00, 0x4b, 0x2e, 0x24}};
constexpr GUID kIWbemLocator = {
    0xdc12a687, 0x737f, 0x11cf, {0x88, 0x4d, 0x00, 0xaa, 0x00, 0x4b, 0x2e, 0x24}};
constexpr long kPatienceMs = 10000;

struct ComTraits {
  using Type = bool;
  static Type none() { return false; }
  static void release(Type) { CoUninitialize(); }
};
using UniqueCom = UniqueResource<ComTraits>;

template <typename Interface>
struct InterfaceTraits {
  using Type = Interface*;
  static Type none() { return nullptr; }
  static void release(Type object) { (void)object->Release(); }
};
template <typename Interface>
using UniqueInterface = UniqueResource<InterfaceTraits<Interface>>;

struct BstrTraits {
  using Type = BSTR;
  static Type none() { return nullptr; }
  static void release(Type text) { SysFreeString(text); }
};
using UniqueBstr = UniqueResource<BstrTraits>;

UniqueBstr bstr(const wchar_t* text) { return UniqueBstr(SysAllocString(text)); }

UniqueInterface<IWbemServices> connectToCenter() {
  void* found = nullptr;
  if (FAILED(CoCreateInstance(kWbemLocator, nullptr, CLSCTX_INPROC_SERVER, kIWbemLocator,
                              &found))) {
    return {};
  }
  const UniqueInterface<IWbemLocator> locator(static_cast<IWbemLocator*>(found));
  IWbemServices* services = nullptr;
  const UniqueBstr path = bstr(L"root\\SecurityCenter2");
  if (FAILED(locator.get()->ConnectServer(path.get(), nullptr, nullptr, nullptr,
                                          WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr,
                                          &services))) {
    return {};
  }
  UniqueInterface<IWbemServices> center(services);
  (void)CoSetProxyBlanket(services, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                          RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                          EOAC_NONE);
  return center;
}

std::string displayName(IWbemClassObject* product) {
  VARIANT value = {};
  if (FAILED(product->Get(L"displayName", 0, &value, nullptr, nullptr))) return {};
  std::string name;
  if (value.vt == VT_BSTR && value.bstrVal != nullptr) name = wideToUtf8(value.bstrVal);
  (void)VariantClear(&value);
  return name;
}

}  // namespace

AntivirusFacts askSecurityCenter() {
  AntivirusFacts facts;
  const UniqueCom com(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
  const UniqueInterface<IWbemServices> center = connectToCenter();
  if (!center) return facts;
  IEnumWbemClassObject* list = nullptr;
  const UniqueBstr language = bstr(L"WQL");
  const UniqueBstr query = bstr(L"SELECT displayName FROM AntiVirusProduct");
  if (FAILED(center.get()->ExecQuery(language.get(), query.get(),
                                     WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY,
                                     nullptr, &list))) {
    return facts;
  }
  const UniqueInterface<IEnumWbemClassObject> products(list);
  for (;;) {
    IWbemClassObject* next = nullptr;
    ULONG count = 0;
    const HRESULT result = list->Next(kPatienceMs, 1, &next, &count);
    if (FAILED(result)) return facts;
    const UniqueInterface<IWbemClassObject> product(next);
    if (result != WBEM_S_NO_ERROR || count == 0) break;
    std::string name = displayName(next);
    if (!name.empty()) facts.products.push_back(std::move(name));
  }
  facts.answered = true;
  return facts;
}

}  // namespace launcher::check
