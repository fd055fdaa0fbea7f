#include "catalog/catalog.h"
#include "command.h"
#include "json.h"
#include "media/convert.h"
#include "qzil/image/formats.h"

#include <cstdio>
#include <memory>

namespace qzil::command {

namespace {

char const* MaskUse(catalog::Entry const& entry) {
    if (entry.bMaskRequired) return "required";
    return entry.TakesMask() ? "optional" : "none: the effect works on whole images";
}

void DescribeFormats(catalog::Entry const& entry) {
    // The others are for hosts that hold such images.
    std::printf("\nformats (* = for --format of qzil run):\n");
    for (GUID const& format : entry.oFormats) {
        std::printf("  %c %s\n", media::HoldsPictures(format) ? '*' : ' ', FormatName(format));
    }
}

void DescribePairs(catalog::Entry const& entry) {
    std::printf("\nformats, for qzil run and qzil convert:\n");
    GUID from{};
    for (catalog::FormatPair const& pair : entry.oPairs) {
        if (!(pair.oFrom == from)) std::printf("  %s ->\n", FormatName(pair.oFrom));
        std::printf("      %s\n", FormatName(pair.oTo));
        from = pair.oFrom;
    }
}

void DescribePorts(char const* title, std::vector<catalog::Port> const& ports) {
    std::printf("%s", title);
    if (ports.empty()) std::printf(" none");
    for (catalog::Port const& port : ports) {
        std::printf(port.bOptional ? " [%s]" : " %s", port.sName.c_str());
    }
}

void DescribeResults(catalog::Entry const& entry) {
    if (entry.oResults.empty()) return;
    std::printf("\nresults:\n");
    for (catalog::Result const& result : entry.oResults) {
        std::printf("  %s  %s\n", result.sName.c_str(), result.sHelp.c_str());
    }
}

void Describe(std::string const& name, bool json) {
    catalog::Entry const* const pEntry = catalog::Find(name);
    if (!pEntry) throw Failure(kWrongUsage, "there is no effect '" + name + "'; qzil list names all effects.");
    if (json) {
        std::printf("%s\n", EntryJson(*pEntry).c_str());
        return;
    }
    std::printf("%s - %s\n\n", pEntry->sName.c_str(), pEntry->sSummary.c_str());
    DescribePorts("inputs:", pEntry->oInputs);
    if (pEntry->oOutputs.size() > 1) {
        std::printf("\n");
        DescribePorts("outputs:", pEntry->oOutputs);
    }
    std::printf("\nmask:   %s\n\nparameters:\n", MaskUse(*pEntry));
    if (pEntry->oParameters.empty()) std::printf("  none\n");
    for (catalog::Parameter const& parameter : pEntry->oParameters) {
        std::printf("  --%s  %s\n      %s; default %s\n", parameter.sName.c_str(), parameter.sHelp.c_str(),
                    catalog::Allowed(parameter).c_str(), parameter.sDefault.c_str());
    }
    DescribeResults(*pEntry);
    pEntry->oPairs.empty() ? DescribeFormats(*pEntry) : DescribePairs(*pEntry);
}

}  // namespace

void AddDescribe(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("describe", "Tells an effect's inputs, parameters and formats");
    auto const name = std::make_shared<std::string>();
    pCommand->add_option("EFFECT", *name, "Name of the effect")->required();
    auto const json = std::make_shared<bool>(false);
    pCommand->add_flag("--json", *json, "An object of JSON");
    pCommand->callback([name, json] { Describe(*name, *json); });
}

}  // namespace qzil::command
