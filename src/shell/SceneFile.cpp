#include "shell/SceneFile.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdlib>
#include <iterator>
#include <limits>

#include "shell/LayerSlots.h"
#include "shell/PreviewRules.h"

namespace shell {

namespace {

constexpr int kVersion = 1;
constexpr std::int64_t kDay = 24 * 60 * 60;
// Further than any hand drags a layer, and a text wider than any that is drawn.
constexpr int kFarthest = 100'000;
constexpr int kWidestText = 1'000'000;

const char kFormatKey[] = "format";
const char kFormat[] = "orvane scene";
const char kVersionKey[] = "version";
const char kSavedKey[] = "saved";
const char kLayersKey[] = "layers";
const char kKindKey[] = "kind";
const char kNameKey[] = "name";
const char kSourceKey[] = "source";
const char kColorKey[] = "color";
const char kMeasuredKey[] = "measured";
const char kShownKey[] = "shown";
const char kPlaceKey[] = "place";

// In the order of LayerKind.
const char* const kKinds[] = {"desktop", "camera", "window", "text", "picture", "film"};

bool IsPlace(LayerKind kind, const Rect& place) {
  if (std::abs(static_cast<std::int64_t>(place.x)) > kFarthest ||
      std::abs(static_cast<std::int64_t>(place.y)) > kFarthest || place.width <= 0 ||
      place.height <= 0) {
    return false;
  }
  return kind == LayerKind::kText ? place.width <= kWidestText && place.height <= kWidestText
                                  : MayBecome({}, place);
}

// What a layer of that kind needs, beyond the right types.
bool IsWhole(const LayerRecord& layer) {
  switch (layer.kind) {
    case LayerKind::kText:
      return !layer.name.isEmpty();
    case LayerKind::kCamera:
      return !layer.source.isEmpty();
    case LayerKind::kPicture:
    case LayerKind::kFilm:
      return QDir::isAbsolutePath(layer.source) && !layer.source.contains(QChar(QChar::Null));
    default:
      return true;
  }
}

QJsonObject ToJson(const LayerRecord& layer) {
  QJsonObject json;
  json.insert(QLatin1String(kKindKey), QLatin1String(kKinds[static_cast<int>(layer.kind)]));
  json.insert(QLatin1String(kNameKey), KeptText(layer.name));
  json.insert(QLatin1String(kSourceKey), layer.source);
  json.insert(QLatin1String(kColorKey), static_cast<double>(layer.color));
  json.insert(QLatin1String(kShownKey), layer.shown);
  if (!layer.measured.isEmpty()) {
    json.insert(QLatin1String(kMeasuredKey), KeptText(layer.measured));
  }
  if (IsPlace(layer.kind, layer.place)) {
    const Rect& place = layer.place;
    json.insert(QLatin1String(kPlaceKey), QJsonArray{place.x, place.y, place.width, place.height});
  }
  return json;
}

// A whole number within these ends; none otherwise.
std::optional<std::int64_t> Whole(const QJsonValue& value, std::int64_t least, std::int64_t most) {
  if (!value.isDouble()) {
    return std::nullopt;
  }
  const double number = value.toDouble();
  if (!(number >= static_cast<double>(least) && number <= static_cast<double>(most))) {
    return std::nullopt;
  }
  const auto whole = static_cast<std::int64_t>(number);
  const double rest = number - static_cast<double>(whole);
  return rest < 0 || rest > 0 ? std::nullopt : std::optional<std::int64_t>(whole);
}

bool TakeText(const QJsonValue& value, QString* text) {
  *text = value.toString();
  return value.isString() && text->size() <= kMostSceneText;
}

bool TakeKind(const QJsonValue& value, LayerKind* kind) {
  const QString name = value.toString();
  for (std::size_t i = 0; i < std::size(kKinds); ++i) {
    if (name == QLatin1String(kKinds[i])) {
      *kind = static_cast<LayerKind>(i);
      return true;
    }
  }
  return false;
}

// Most have none.
bool TakeMeasured(const QJsonValue& value, QString* text) {
  return value.isUndefined() || TakeText(value, text);
}

// One that has none is where its source puts it.
bool TakePlace(const QJsonValue& value, LayerKind kind, Rect* place) {
  if (value.isUndefined()) {
    return true;
  }
  const QJsonArray numbers = value.toArray();
  int* const fields[] = {&place->x, &place->y, &place->width, &place->height};
  if (numbers.size() != static_cast<int>(std::size(fields))) {
    return false;
  }
  for (int i = 0; i < numbers.size(); ++i) {
    const auto number =
        Whole(numbers.at(i), std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    if (!number) {
      return false;
    }
    *fields[i] = static_cast<int>(*number);
  }
  return IsPlace(kind, *place);
}

std::optional<LayerRecord> ToLayer(const QJsonValue& value) {
  const QJsonObject json = value.toObject();
  const auto at = [&](const char* key) { return json.value(QLatin1String(key)); };
  LayerRecord layer;
  const auto color = Whole(at(kColorKey), 0, std::numeric_limits<std::uint32_t>::max());
  const QJsonValue shown = at(kShownKey);
  if (!TakeKind(at(kKindKey), &layer.kind) || !TakeText(at(kNameKey), &layer.name) ||
      !TakeText(at(kSourceKey), &layer.source) ||
      !TakeMeasured(at(kMeasuredKey), &layer.measured) || !color || !shown.isBool() ||
      !TakePlace(at(kPlaceKey), layer.kind, &layer.place)) {
    return std::nullopt;
  }
  layer.color = static_cast<std::uint32_t>(*color);
  layer.shown = shown.toBool();
  return IsWhole(layer) ? std::optional<LayerRecord>(layer) : std::nullopt;
}

// As much of it as stays a text: not half a character.
QString Cut(const QString& text) {
  const QString part = text.left(kMostSceneText);
  return !part.isEmpty() && part.back().isHighSurrogate() ? part.chopped(1) : part;
}

}  // namespace

QString KeptText(const QString& text) {
  return text.size() > kMostSceneText ? Cut(text) : text;
}

QByteArray BytesOfScene(const SavedScene& scene) {
  QJsonArray layers;
  for (const LayerRecord& layer : scene.layers) {
    // A path that is cut is another one; none is that long.
    if (IsWhole(layer) && layer.source.size() <= kMostSceneText) {
      layers.append(ToJson(layer));
    }
  }
  QJsonObject json;
  json.insert(QLatin1String(kFormatKey), QLatin1String(kFormat));
  json.insert(QLatin1String(kVersionKey), kVersion);
  json.insert(QLatin1String(kSavedKey), static_cast<double>(scene.savedAt));
  json.insert(QLatin1String(kLayersKey), layers);
  return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

std::optional<SavedScene> SceneOfBytes(const QByteArray& bytes) {
  if (static_cast<std::size_t>(bytes.size()) > kMostSceneBytes) {
    return std::nullopt;
  }
  const QJsonObject json = QJsonDocument::fromJson(bytes).object();
  const auto at = [&](const char* key) { return json.value(QLatin1String(key)); };
  const auto savedAt = Whole(at(kSavedKey), 0, std::int64_t{1} << 40);
  const QJsonArray layers = at(kLayersKey).toArray();
  if (at(kFormatKey).toString() != QLatin1String(kFormat) ||
      Whole(at(kVersionKey), kVersion, kVersion) == std::nullopt || !savedAt ||
      !at(kLayersKey).isArray() || layers.size() > kLayerLimit) {
    return std::nullopt;
  }
  SavedScene scene;
  scene.savedAt = *savedAt;
  for (const QJsonValue& value : layers) {
    const std::optional<LayerRecord> layer = ToLayer(value);
    if (!layer) {
      return std::nullopt;
    }
    scene.layers.push_back(*layer);
  }
  return scene;
}

bool MayBeOffered(const SavedScene& scene, std::int64_t now) {
  return !scene.layers.empty() && std::abs(now - scene.savedAt) <= kDay;
}

}  // namespace shell
