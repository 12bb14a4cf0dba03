#include <gtest/gtest.h>

#include "quarn/commands/Arguments.h"

namespace quarn::arguments_tests {
namespace {

TEST(Arguments, AnOptionIsFoundInEverySpelling) {
  EXPECT_TRUE(parseArguments({"apps", "--verbose"}).has("--verbose"));
  EXPECT_TRUE(parseArguments({"apps", "-v"}).has("--verbose"));
  EXPECT_TRUE(parseArguments({"-v", "apps"}).has("--verbose"));
  const Arguments several = parseArguments({"apps", "-vh"});
  EXPECT_TRUE(several.has("--verbose") && several.has("--help"));
  EXPECT_EQ(parseArguments({"apps", "--units=iec"}).text("--units"), "iec");
  EXPECT_EQ(parseArguments({"--units", "iec", "apps"}).text("--units"), "iec");
  EXPECT_EQ(parseArguments({"rpc", "--max-concurrent=3"}).text("--max-concurrent"), "3");
}

TEST(Arguments, NumbersAreWholeAndNotNegative) {
  EXPECT_EQ(parseArguments({"top", "--limit", "7"}).number("--limit", 20), 7);
  EXPECT_EQ(parseArguments({"top"}).number("--limit", 20), 20);
  EXPECT_EQ(parseArguments({"top", "--limit", "0"}).number("--limit", 20), 0);
  for (const char* text : {"-1", "1.5", "1e3", " 1", "1 ", "", "99999999999999999999", "0x10"}) {
    EXPECT_THROW(parseArguments({"top", "--limit", text}), UsageError) << text;
  }
}

TEST(Arguments, ARepeatedOptionKeepsAllValuesAndTheLastOneCounts) {
  const Arguments arguments = parseArguments({"plan", "--select", "a", "App", "--select=b"});
  EXPECT_EQ(arguments.texts("--select"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(arguments.text("--select"), "b");
  EXPECT_EQ(arguments.positionals, (std::vector<std::string>{"App"}));
}

/// An option with its argument as words of a command line.
std::vector<std::string> wordsOf(const OptionRow& option) {
  std::vector<std::string> words{std::string(option.name)};
  if (option.argument.empty()) return words;
  words.push_back(option.choices.empty() ? "1" : choiceWords(option.choices).front());
  return words;
}

/// The message of the usage error; empty if the words are accepted.
std::string refusal(const std::vector<std::string>& words) {
  try {
    parseArguments(words);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

/// The name of a command and its required positionals.
std::vector<std::string> leastWords(const CommandRow& command) {
  std::vector<std::string> words{std::string(command.name)};
  for (const PositionalRow& row : command.positionals) {
    if (row.isRequired) words.push_back(row.choices.empty() ? "any" : choiceWords(row.choices).front());
  }
  return words;
}

void append(std::vector<std::string>& words, const std::vector<std::string>& more) {
  words.insert(words.end(), more.begin(), more.end());
}

TEST(Arguments, AnOptionCannotBeCombinedWithTheOnesThatItExcludes) {
  int exclusions = 0;
  for (const CommandRow& command : commandTable()) {
    for (const auto& options : {globalOptions(), command.options}) {
      for (const OptionRow& option : options) {
        for (const std::string& other : choiceWords(option.excludes)) {
          const OptionRow* row = optionRow(other, &command);
          std::vector<std::string> words = leastWords(command);
          append(words, row != nullptr ? wordsOf(*row) : std::vector<std::string>{other});
          append(words, wordsOf(option));
          EXPECT_EQ(refusal(words), std::string(option.name) + " cannot be combined with " + other) << command.name;
          ++exclusions;
        }
      }
    }
  }
  EXPECT_EQ(exclusions, 5 * 23 + 13 + 30);
}

TEST(Arguments, ContradictingOptionsAreRefused) {
  const std::vector<std::vector<std::string>> rows{{"apps", "--json", "--ndjson"},
                                                   {"apps", "--iec", "--bytes"},
                                                   {"apps", "--quiet", "--verbose"},
                                                   {"inspect", "App", "--all"},
                                                   {"inspect", "App", "--no-heuristics", "--depth", "1"},
                                                   {"inspect", "App", "--no-heuristics", "--max-results", "1"},
                                                   {"top", "/Users", "--category", "photos"},
                                                   {"top", "--children", "--files"},
                                                   {"top", "--children", "--depth", "1"},
                                                   {"top", "--files", "--depth", "1"},
                                                   {"top", "--children", "--visits", "1"},
                                                   {"top", "--files", "--visits", "1"},
                                                   {"top", "--by", "age"},
                                                   {"vendors", "check", "folder", "--match", "App"}};
  for (const auto& words : rows) EXPECT_NE(refusal(words), "") << words.front() << " " << words.back();
}

TEST(Arguments, CompatibleOptionsAreAccepted) {
  const std::vector<std::vector<std::string>> rows{
      {"top", "--category", "photos", "--files", "--no-hidden"},
      {"top", "--category", "photos", "--children", "--limit", "3", "--by", "disk"},
      {"top", "/Users", "--depth", "1", "--visits", "2", "--by", "length"},
      {"apps", "--json", "--iec", "--verbose"}};
  for (const auto& words : rows) EXPECT_EQ(refusal(words), "") << words.back();
}

TEST(Arguments, AnOptionWithAnArgumentCannotBeGivenTwiceUnlessItIsRepeatable) {
  for (const CommandRow& command : commandTable()) {
    for (const auto& options : {globalOptions(), command.options}) {
      for (const OptionRow& option : options) {
        std::vector<std::string> words = leastWords(command);
        if (option.name == "--help" || (option.name == "--ndjson" && !command.hasList)) continue;
        append(words, wordsOf(option));
        append(words, wordsOf(option));
        const bool mayBeTwice = option.isRepeatable || option.argument.empty();
        EXPECT_EQ(refusal(words), mayBeTwice ? "" : std::string(option.name) + " cannot be given twice")
            << command.name;
      }
    }
  }
  EXPECT_EQ(refusal({"report", "-o", "a", "--output", "b"}), "--output cannot be given twice");
  EXPECT_EQ(refusal({"--locale", "en", "apps", "--locale", "de"}), "--locale cannot be given twice");
}

TEST(Arguments, ANumberIsCheckedInAnyPosition) {
  for (const CommandRow& command : commandTable()) {
    for (const OptionRow& option : command.options) {
      EXPECT_EQ(option.isNumber, option.argument == "N" || option.argument == "BYTES") << option.name;
      if (!option.isNumber) continue;
      std::vector<std::string> words = leastWords(command);
      append(words, {std::string(option.name), "x"});
      EXPECT_EQ(refusal(words), std::string(option.name) + ": expected a whole number, got \"x\"") << command.name;
    }
  }
}

TEST(Arguments, HelpWorksOnAnInvalidCommandLine) {
  const std::vector<std::vector<std::string>> rows{{"top", "--limit", "x", "--help"},
                                                   {"inspect", "-h"},
                                                   {"top", "--files", "--children", "-h"},
                                                   {"report", "--ndjson", "--help"}};
  for (const auto& words : rows) EXPECT_EQ(refusal(words), "") << words.front();
}

TEST(Arguments, NdjsonIsRefusedByCommandsWithoutAList) {
  std::vector<std::string> refused;
  for (const CommandRow& command : commandTable()) {
    std::vector<std::string> words = leastWords(command);
    words.emplace_back("--ndjson");
    const std::string problem = refusal(words);
    EXPECT_EQ(problem.empty(), command.hasList);
    if (problem.empty()) continue;
    refused.emplace_back(command.name);
    EXPECT_EQ(problem, refused.back() + " does not support --ndjson: it prints no list");
  }
  EXPECT_EQ(refused,
            (std::vector<std::string>{"browse", "report", "scan", "rpc", "sample", "completions", "manual", "help"}));
}

TEST(Arguments, ShortNamesEqualLongNames) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"-q", "--quiet"}, {"-v", "--verbose"}, {"-h", "--help"}, {"-V", "--version"}};
  for (const auto& [shortName, name] : rows) {
    for (const auto& words : {std::vector<std::string>{shortName, "apps"}, {"apps", shortName}}) {
      EXPECT_TRUE(parseArguments(words).has(name)) << shortName;
    }
    EXPECT_EQ(optionRow(shortName, nullptr), optionRow(name, nullptr));
  }
  EXPECT_EQ(refusal({"apps", "-v=1"}), "--verbose takes no value");
}

TEST(Arguments, KeepTheCommandWhenAnotherWordIsInvalid) {
  const std::vector<std::vector<std::string>> rows{
      {"--volume", "sample", "top", "--limit", "x"}, {"--volume", "sample", "top", "--limit"},
      {"--log", "plan", "top", "--nothing"},         {"--log", "plan", "top", "--json=no"},
      {"--log", "plan", "top", "--json=x"},          {"--limit", "3", "top"}};
  for (const auto& words : rows) {
    Arguments arguments;
    EXPECT_THROW(parseArguments(words, arguments), UsageError) << words.back();
    EXPECT_EQ(arguments.command, commandRow("top")) << words.back();
  }
}

TEST(Arguments, TheErrorForAnOptionBeforeItsCommandShowsTheCorrectOrder) {
  EXPECT_EQ(refusal({"--limit", "3", "top"}), "--limit must follow the command: quarn top --limit N");
  EXPECT_EQ(refusal({"--limit=3", "top"}), "--limit must follow the command: quarn top --limit N");
  EXPECT_EQ(refusal({"--sizes", "apps"}), "--sizes must follow the command: quarn apps --sizes");
  EXPECT_EQ(refusal({"-o", "page", "report"}), "-o must follow the command: quarn report -o FILE");
  EXPECT_EQ(refusal({"--depth", "3", "top"}), "--depth must follow the command: quarn top --depth N");
  EXPECT_EQ(refusal({"--visits", "3"}), "--visits must follow the command: quarn top --visits N");
  EXPECT_EQ(refusal({"apps", "--visits", "3"}), "unknown option --visits");
}

TEST(Arguments, AnInvalidChoiceIsReportedBeforeTooManyArguments) {
  EXPECT_EQ(refusal({"vendors", "x", "y", "z"}), "expected check, got \"x\"");
  EXPECT_EQ(refusal({"vendors", "chek", "y", "z"}), "expected check, got \"chek\"; did you mean check?");
  EXPECT_EQ(refusal({"vendors", "check", "y", "z"}), "unexpected argument \"z\" for vendors");
  EXPECT_EQ(refusal({"vendors", "x", "--match", "App"}), "expected check, got \"x\"");
}

TEST(Arguments, EveryOptionIsAcceptedBeforeAndAfterThePositionals) {
  for (const CommandRow& command : commandTable()) {
    for (const auto& options : {globalOptions(), command.options}) {
      for (const OptionRow& option : options) {
        std::vector<std::string> words{std::string(command.name), std::string(option.name)};
        const std::string value = option.choices.empty() ? "1" : choiceWords(option.choices).front();
        if (!option.argument.empty()) words.push_back(value);
        words.emplace_back("--help");
        const Arguments arguments = parseArguments(words);
        EXPECT_EQ(arguments.command, &command);
        EXPECT_EQ(arguments.text(option.name), option.argument.empty() ? "" : value)
            << command.name << " " << option.name;
      }
    }
  }
}

TEST(CommandTable, EveryOptionHasOneMeaning) {
  for (const CommandRow& command : commandTable()) {
    for (const auto& options : {globalOptions(), command.options}) {
      for (const OptionRow& option : options) {
        EXPECT_EQ(optionRow(option.name, &command), &option);
        if (option.shortName.empty()) continue;
        EXPECT_EQ(optionRow(option.shortName, &command), &option);
      }
    }
    EXPECT_EQ(commandRow(command.name), &command);
  }
  EXPECT_EQ(commandRow("none"), nullptr);
  EXPECT_EQ(optionRow("--mode", commandRow("apps")), nullptr);
  EXPECT_EQ(optionRow("", commandRow("apps")), nullptr);
}

TEST(CommandTable, ChoicesAreTheCasesOfAnEnumeration) {
  const OptionRow* mode = optionRow("--mode", commandRow("plan"));
  EXPECT_EQ(mode->choices, "cacheOnly|associatedDataOnly|removeApp|aggressive");
  EXPECT_EQ(mode->help, "cacheOnly, associatedDataOnly, removeApp or aggressive (default removeApp)");
  EXPECT_EQ(optionRow("--color", nullptr)->choices, "auto|always|never");
  EXPECT_EQ(commandRow("completions")->positionals.front().help, "bash, zsh or fish");
  constexpr std::string_view kCategories = "apps|documents|photos|communication|games|development|systemData|other";
  EXPECT_EQ(commandRow("storage")->positionals.front().choices, kCategories);
  EXPECT_EQ(optionRow("--category", commandRow("top"))->choices, kCategories);
}

}  // namespace
}  // namespace quarn::arguments_tests
