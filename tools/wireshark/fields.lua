-- The protocol, its preference, and a field for each row and item of the tables.

local aaa = Proto("aaa", "AAA messages")

aaa.prefs.secrets = Pref.bool("Show secrets", false,
  "Show passwords, keys, and what may be one. The bytes of a packet are shown in any case.")

local remark = ProtoExpert.new("aaa.remark", "Does not fit", expert.group.PROTOCOL,
  expert.severity.WARN)
aaa.experts = { remark }

local number_types = { [1] = ProtoField.uint8, [2] = ProtoField.uint16, [4] = ProtoField.uint32,
  [8] = ProtoField.uint64 }

local constructors = {
  number = function(width) return number_types[width] end,
  signed_number = function() return ProtoField.int32 end,
  network_number = function() return ProtoField.uint32 end,
  words = function() return ProtoField.uint32 end,
  octets = function() return ProtoField.bytes end,
  text = function() return ProtoField.string end,
  whole = function() return ProtoField.none end,
}

local all_fields = {}
local known_fields = {}

local function new_field(constructor, ...)
  local field = constructor(...)
  all_fields[#all_fields + 1] = field
  return field
end

-- What the tree shows of a field: its value, or of a secret only how many bytes it has. One for all
-- places of a record's field.
local function field_of(record, name, kind, width, tag)
  local abbreviation = record .. "." .. name
  local known = known_fields[abbreviation]
  if known then
    assert(known.kind == kind and known.width == width, abbreviation .. " has two meanings")
    return known
  end
  local label = tag and name .. " (" .. tag .. ")" or name
  local field = {
    name = name,
    label = label,
    kind = kind,
    width = width,
    shown = new_field(constructors[kind](width), "aaa." .. abbreviation, label),
    hidden = new_field(ProtoField.uint32, "aaa." .. abbreviation .. ".secret", label,
      base.UNIT_STRING, { " byte, secret", " bytes, secret" }),
  }
  known_fields[abbreviation] = field
  return field
end

local function declare_block(record, block)
  for _, row in ipairs(block.rows) do
    row.field = field_of(record, row.name, row.kind, row.width)
  end
end

local function declare_list(record, list)
  list.by_tag = {}
  for place, item in ipairs(list.items) do
    item.place = place
    list.by_tag[item.tag] = item
    local kind = item.block and "whole" or item.kind
    item.field = field_of(record, item.name, kind, item.width, item.tag)
    if item.block then declare_block(record, item.block) end
    if item.list then declare_list(record, item.list) end
  end
end

local kinds_of_shapes = { short_text = "text", long_text = "text", text = "text", octets = "octets",
  unknown = "octets" }
local widths_of_lengths = { short_text = 1, long_text = 4 }

local function declare_part(part)
  if part.block then declare_block(part.record, part.block) end
  if part.list then declare_list(part.record, part.list) end
  local kind = kinds_of_shapes[part.shape]
  if not kind then return end
  part.field = field_of(part.record, part.name, kind)
  part.length_width = widths_of_lengths[part.shape]
  if part.length_width then
    part.length_field = field_of(part.record, part.name .. "_length", "number", part.length_width)
  end
end

for _, message in ipairs(tables.messages) do
  for _, part in ipairs(message.parts) do declare_part(part) end
end

local header_fields = {}
for _, row in ipairs(tables.header.rows) do
  header_fields[row.name] = new_field(ProtoField.uint32, "aaa." .. row.name, row.name,
    row.name == "marker" and base.HEX or base.DEC, row.name == "type" and tables.type_names or nil)
end
local batched_message = new_field(ProtoField.none, "aaa.message", "message")

local undecoded_field = field_of("message", "undecoded", "octets")
local stranger_field = field_of("message", "unknown_item", "octets")

aaa.fields = all_fields
