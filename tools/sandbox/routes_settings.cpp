// "/settings/...": the program's reference data.
#include "sandbox/SandboxState.h"

namespace brivane::sandbox {
namespace {

struct Country {
  const char* name;
  const char* code;
  bool inProgram;
};

// Reference data of the sandbox program: the program serves the euro area's SEPA countries.
constexpr Country kCountries[] = {
    {"Austria", "AT", true},      {"Belgium", "BE", true},         {"Bulgaria", "BG", false},
    {"Croatia", "HR", true},      {"Cyprus", "CY", true},          {"Czech Republic", "CZ", false},
    {"Denmark", "DK", false},     {"Estonia", "EE", true},         {"Finland", "FI", true},
    {"France", "FR", true},       {"Germany", "DE", true},         {"Greece", "GR", true},
    {"Hungary", "HU", false},     {"Iceland", "IS", false},        {"Ireland", "IE", true},
    {"Italy", "IT", true},        {"Latvia", "LV", true},          {"Liechtenstein", "LI", false},
    {"Lithuania", "LT", true},    {"Luxembourg", "LU", true},      {"Malta", "MT", true},
    {"Netherlands", "NL", true},  {"Norway", "NO", false},         {"Poland", "PL", false},
    {"Portugal", "PT", true},     {"Romania", "RO", false},        {"Slovakia", "SK", true},
    {"Slovenia", "SI", true},     {"Spain", "ES", true},           {"Sweden", "SE", false},
    {"Switzerland", "CH", false}, {"United Kingdom", "GB", false}, {"United States", "US", false},
};

void handleCountries(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto params = state.admit(req, res);
  if (!params) return;
  const bool onlyProgram = req.get_param_value("onlyProgramCountries") == "true";
  json::array countries;
  for (const Country& country : kCountries) {
    if (onlyProgram && !country.inProgram) continue;
    countries.push_back(json::object{{"countryName", country.name}, {"countryCode", country.code}});
  }
  json::object answer = state.successEnvelope(*params);
  answer["countries"] = std::move(countries);
  sendJSON(res, 200, answer);
}

void handleFinancialInstitution(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto params = state.admit(req, res);
  if (!params) return;
  json::object answer = state.successEnvelope(*params);
  answer["name"] = "Brivane Sandbox Bank AG";
  answer["addr1"] = "Kärntner Ring 12";
  answer["addr2"] = "3. Stock";
  answer["city"] = "Wien";
  answer["state"] = "Wien";
  answer["countryName"] = "Austria";
  answer["countryCode"] = "AT";
  answer["postCode"] = "1010";
  answer["creditorIdentifier"] = "AT61ZZZ00000012345";
  sendJSON(res, 200, answer);
}

}  // namespace

std::string countryNameOf(const std::string& code) {
  for (const Country& country : kCountries)
    if (code == country.code) return country.name;
  return std::string();
}

void registerSettingsRoutes(Sandbox::State& state) {
  state.server.Get("/settings/country", [&state](const httplib::Request& req, httplib::Response& res) {
    handleCountries(state, req, res);
  });
  state.server.Get("/settings/getFinancialInstitutionData",
                   [&state](const httplib::Request& req, httplib::Response& res) {
                     handleFinancialInstitution(state, req, res);
                   });
}

}  // namespace brivane::sandbox
