#pragma once

#include <array>

#include "quarn/commands/CommandRow.h"

namespace quarn {

// The row of each command, defined in the command's own file.
const CommandRow& appsCommand();
const CommandRow& inspectCommand();
const CommandRow& planCommand();
const CommandRow& ownerCommand();
const CommandRow& leftoversCommand();
const CommandRow& storageCommand();
const CommandRow& topCommand();
const CommandRow& treeCommand();
const CommandRow& cloudCommand();
const CommandRow& browseCommand();
const CommandRow& reportCommand();
const CommandRow& scanCommand();
const CommandRow& diffCommand();
const CommandRow& vendorsCommand();
const CommandRow& jobsCommand();
const CommandRow& receiptsCommand();
const CommandRow& kextsCommand();
const CommandRow& rpcCommand();
const CommandRow& sampleCommand();
const CommandRow& configCommand();
const CommandRow& completionsCommand();
const CommandRow& manualCommand();
const CommandRow& helpCommand();

/// All commands, in the order of the help.
inline constexpr std::array kCommands{
    &appsCommand,   &inspectCommand, &planCommand,        &ownerCommand,    &leftoversCommand, &storageCommand,
    &browseCommand, &topCommand,     &treeCommand,        &cloudCommand,    &reportCommand,    &scanCommand,
    &diffCommand,   &vendorsCommand, &jobsCommand,        &receiptsCommand, &kextsCommand,     &rpcCommand,
    &sampleCommand, &configCommand,  &completionsCommand, &manualCommand,   &helpCommand,
};

}  // namespace quarn
