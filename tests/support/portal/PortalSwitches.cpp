#include "support/portal/PortalSwitches.h"

#include <functional>
#include <map>
#include <sstream>

namespace support {

namespace {

const std::map<std::string, PortalStep>& Steps() {
  static const std::map<std::string, PortalStep> steps{
      {"probe", PortalStep::Probe},   {"create", PortalStep::Create},
      {"select", PortalStep::Select}, {"start", PortalStep::Start},
      {"open", PortalStep::Open},     {"inhibit", PortalStep::Inhibit}};
  return steps;
}

bool SetStep(std::istream& words, StepSwitches* step) {
  std::string what;
  words >> what;
  if (what == "well") {
    *step = StepSwitches();
  } else if (what == "refuse") {
    words >> step->response;
  } else if (what == "garbage") {
    words >> step->garbage;
  } else if (what == "error") {
    step->error = true;
  } else if (what == "mute") {
    step->mute = true;
  } else if (what == "hang") {
    step->hang = true;
  } else if (what == "twice") {
    step->twice = true;
  } else if (what == "stranger") {
    step->stranger = true;
  } else if (what == "elsewhere") {
    step->elsewhere = true;
  } else {
    return false;
  }
  return !words.fail();
}

// A number, or "real" for none.
template <typename Number>
bool SetOptional(std::istream& words, std::optional<Number>* value) {
  std::string word;
  words >> word;
  if (word == "real") {
    value->reset();
    return true;
  }
  std::istringstream digits(word);
  long long number = 0;
  digits >> number;
  *value = static_cast<Number>(number);
  return !digits.fail();
}

using Setter = std::function<void(std::istream& words, PortalSwitches* switches)>;

bool Is(std::istream& words, const std::string& expected) {
  std::string word;
  words >> word;
  return word == expected;
}

void Fail(std::istream& words) {
  words.setstate(std::ios::failbit);
}

template <typename Number>
Setter Optional(std::optional<Number> PictureSwitches::*value) {
  return [value](std::istream& words, PortalSwitches* switches) {
    if (!SetOptional(words, &(switches->pictures.*value))) {
      Fail(words);
    }
  };
}

std::map<std::string, Setter> PictureSetters() {
  using Words = std::istream;
  using All = PortalSwitches;
  return {
      {"size",
       [](Words& words, All* all) { words >> all->pictures.width >> all->pictures.height; }},
      {"rate", [](Words& words, All* all) { words >> all->pictures.rate; }},
      {"pixels", [](Words& words, All* all) { words >> all->pictures.pixels; }},
      {"background",
       [](Words& words, All* all) {
         CameraColour& colour = all->pictures.background;
         words >> colour.red >> colour.green >> colour.blue;
       }},
      {"still", [](Words&, All* all) { all->pictures.moving = false; }},
      {"moving", [](Words&, All* all) { all->pictures.moving = true; }},
      {"shows", [](Words& words, All* all) { words >> all->pictures.shows; }},
      {"loses", [](Words& words, All* all) { words >> all->pictures.loses; }},
      {"pictures", [](Words& words, All* all) { all->pictures.withheld = Is(words, "withheld"); }},
      {"padding", [](Words& words, All* all) { words >> all->pictures.padding; }},
      {"chunk-stride", Optional(&PictureSwitches::chunkStride)},
      {"chunk-size", Optional(&PictureSwitches::chunkSize)},
      {"chunk-offset", Optional(&PictureSwitches::chunkOffset)},
      {"buffer-bytes", Optional(&PictureSwitches::bufferBytes)},
      {"file-bytes", Optional(&PictureSwitches::fileBytes)},
      {"memory", [](Words& words, All* all) { all->pictures.dmaBuf = Is(words, "dmabuf"); }},
      {"seals", [](Words& words, All* all) { all->pictures.sealed = Is(words, "on"); }},
      {"crop",
       [](Words& words, All* all) {
         for (int& number : all->pictures.crop) {
           words >> number;
         }
       }},
      {"transform", [](Words& words, All* all) { words >> all->pictures.transform; }},
      {"corrupted", [](Words& words, All* all) { all->pictures.corrupted = Is(words, "on"); }},
  };
}

std::map<std::string, Setter> DesktopSetters() {
  using Words = std::istream;
  using All = PortalSwitches;
  return {
      {"version", [](Words& words, All* all) { words >> all->version; }},
      {"sources", [](Words& words, All* all) { words >> all->sources; }},
      {"cursors", [](Words& words, All* all) { words >> all->cursors; }},
      {"picker", [](Words& words, All* all) { all->pickerWaits = Is(words, "wait"); }},
      {"know",
       [](Words& words, All* all) {
         std::string token;
         words >> token;
         all->tokens.insert(token);
       }},
      {"forget", [](Words&, All* all) { all->tokens.clear(); }},
      {"strict", [](Words&, All* all) { all->strict = true; }},
      {"node", [](Words& words, All* all) { words >> all->node; }},
  };
}

}  // namespace

bool SetSwitch(const std::string& line, PortalSwitches* switches) {
  static const std::map<std::string, Setter> pictures = PictureSetters();
  static const std::map<std::string, Setter> desktop = DesktopSetters();
  std::istringstream words(line);
  std::string name;
  words >> name;
  const auto step = Steps().find(name);
  if (step != Steps().end()) {
    return SetStep(words, &switches->At(step->second));
  }
  for (const auto* setters : {&pictures, &desktop}) {
    const auto setter = setters->find(name);
    if (setter != setters->end()) {
      setter->second(words, switches);
      return !words.fail();
    }
  }
  return false;
}

}  // namespace support
