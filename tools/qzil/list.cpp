#include "catalog/catalog.h"
#include "command.h"
#include "json.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace qzil::command {

namespace {

void List() {
    std::string family;
    std::size_t width = 0;
    auto const lists = {catalog::Effects(), catalog::Conversions()};
    for (auto const list : lists) {
        for (catalog::Entry const& entry : list) width = std::max(width, entry.sName.size());
    }
    for (auto const list : lists) {
        for (catalog::Entry const& entry : list) {
            if (entry.sFamily != family) {
                std::printf("%s%s\n", family.empty() ? "" : "\n", entry.sFamily.c_str());
                family = entry.sFamily;
            }
            std::printf("  %-*s  %s\n", static_cast<int>(width), entry.sName.c_str(), entry.sSummary.c_str());
        }
    }
}

void ListJson() {
    std::string text;
    for (auto const list : {catalog::Effects(), catalog::Conversions()}) {
        for (catalog::Entry const& entry : list) text += (text.empty() ? "" : ",\n ") + EntryJson(entry);
    }
    std::printf("[%s]\n", text.c_str());
}

}  // namespace

std::string EntryJson(catalog::Entry const& entry) {
    std::string inputs, parameters;
    for (catalog::Port const& input : entry.oInputs) inputs += (inputs.empty() ? "" : ",") + JsonText(input.sName);
    for (catalog::Parameter const& parameter : entry.oParameters) {
        parameters += (parameters.empty() ? "{\"name\":" : ",{\"name\":") + JsonText(parameter.sName) +
                      ",\"help\":" + JsonText(parameter.sHelp) + ",\"takes\":" + JsonText(catalog::Allowed(parameter)) +
                      ",\"default\":" + JsonText(parameter.sDefault) + "}";
    }
    return "{\"name\":" + JsonText(entry.sName) + ",\"family\":" + JsonText(entry.sFamily) +
           ",\"summary\":" + JsonText(entry.sSummary) + ",\"inputs\":[" + inputs +
           "],\"mask\":" + (entry.bMaskRequired ? "\"required\"" : "\"optional\"") + ",\"parameters\":[" + parameters +
           "]}";
}

void AddList(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("list", "Names all effects");
    auto const json = std::make_shared<bool>(false);
    pCommand->add_flag("--json", *json, "An array of JSON");
    pCommand->callback([json] { *json ? ListJson() : List(); });
}

}  // namespace qzil::command
