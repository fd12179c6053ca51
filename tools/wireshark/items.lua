-- Items of bodies. When they cannot be read to the end or are not those that belong there, lengths
-- and tags may be wrong, and a value a piece of another: then all are secret.

local widths_of_heads = { small = 2, large = 4 }

local Items = {}
Items.__index = Items

-- Nothing when the head is not there as a whole or contradicts itself.
function Items:head()
  local word = widths_of_heads[self.list.heads]
  if self.cursor:left() < 2 * word then return nil end
  local head = { tag = self.cursor:number(0, word), size = 2 * word,
    length = self.cursor:number(word, word) }
  if self.list.heads == "small" then return head end
  if head.length < head.size then return nil end
  head.length = head.length - head.size
  return head
end

-- A large head with length 0, behind which nothing is read. One with a tag of its own or 0: of
-- another tag it may be a piece of a value.
function Items:take_end()
  local cursor = self.cursor
  if self.list.heads ~= "large" or cursor:left() < 8 then return false end
  local tag, length = cursor:number(0, 4), cursor:number(4, 4)
  if length ~= 0 then return false end
  if tag ~= 0 and not self.list.by_tag[tag] then return false end
  cursor.at = cursor.at + 8
  return true
end

function Items:may_skip(tag)
  local is_masked = tag % 0x10000 == tables.masked_tag  -- also one of 32 bits
  return self.list.other_items == "skipped" and not is_masked
end

-- Whether the attribute named before a value holds a password or a key.
function Items:follows_a_secret_name()
  local named = self.nodes[#self.nodes]
  if not named or named.name ~= "name" or named.has_no_value then return true end
  local name = named.length > 0 and self.cursor.buffer(named.at, named.length):raw():lower() or ""
  for _, word in ipairs(tables.secret_words) do
    if name:find(word, 1, true) then return true end
  end
  return false
end

local function hold_back(node)
  node.secret = true
  node.has_no_value = true
end

function Items:take_block(item, value, node)
  local length = value.claimed_stop - value.at
  if not item.list and length ~= item.block.size then
    self.cursor:remark("%s has %d bytes instead of %d", node.name, length, item.block.size)
    return hold_back(node)
  end
  node.nodes = {}
  if value:read_block(item.block, item.name, node.nodes) and item.list then
    Items.read(value, item.list, node.nodes)
  end
end

function Items:take_value(item, value, node)
  local length = value.claimed_stop - value.at
  if item.kind == "number" and length ~= item.width then
    self.cursor:remark("%s has %d bytes instead of %d", node.name, length, item.width)
    return hold_back(node)
  end
  if value.stop < value.claimed_stop then return hold_back(node) end
  node.secret = item.secret or (item.secret_by_name and self:follows_a_secret_name())
end

-- "read", or "cut" when the value goes on behind the bytes that are there.
function Items:take(item, tag, length)
  local cursor = self.cursor
  local present = cursor:present(length)
  local node = { field = item and item.field or stranger_field,
    name = item and item.name or "item_" .. tag, at = cursor.at, length = present, tag = tag }
  if present < length and not (item and item.block) then
    cursor:remark("%s: %d of %d bytes are there", node.name, present, length)
  end
  local value = Cursor.new(cursor.frame, cursor.at, cursor.at + present, cursor.at + length,
    cursor.remarks)
  if not item then
    hold_back(node)
  elseif item.block then
    self:take_block(item, value, node)
  else
    self:take_value(item, value, node)
  end
  cursor.at = cursor.at + present
  self.nodes[#self.nodes + 1] = node
  return present < length and "cut" or "read"
end

function Items:read_item()
  local cursor = self.cursor
  local head = self:head()
  if not head then return "unreadable" end
  local item = self.list.by_tag[head.tag]
  if not item and not self:may_skip(head.tag) then return "unreadable" end
  if not cursor:may_list() then return "unreadable" end
  local length = head.length + (item and item.list and item.block.size or 0)
  if length > cursor.claimed_stop - cursor.at - head.size then return "unreadable" end
  if not item and not self.stranger then
    self.stranger = { at = cursor.at, nodes = #self.nodes, remarks = #cursor.remarks }
  end
  cursor.at = cursor.at + head.size
  cursor:count_listed(1)
  return self:take(item, head.tag, length)
end

-- Not the rows of blocks: their places do not depend on what is before them.
local function hide_items(node)
  if node.tag and not (node.nodes and #node.nodes > 0) then node.secret = true end
  for _, part in ipairs(node.nodes or {}) do hide_items(part) end
end

function Items:hide_all()
  for i = self.first, #self.nodes do hide_items(self.nodes[i]) end
end

-- From here on, or from the first item on that the list has not: it may be none.
function Items:give_up()
  if self.stranger then
    self.cursor.at = self.stranger.at
    shorten(self.nodes, self.stranger.nodes)
    shorten(self.cursor.remarks, self.stranger.remarks)
  end
  self:hide_all()
  self.cursor:remark("the items from byte %d on cannot be read", self.cursor.at)
  self.nodes[#self.nodes + 1] = self.cursor:take_unknown(self.cursor:left())
end

function Items:count(tag)
  local count = 0
  for i = self.first, #self.nodes do
    if self.nodes[i].tag == tag then count = count + 1 end
  end
  return count
end

function Items:are_in_order()
  local place = 1
  for i = self.first, #self.nodes do
    local item = self.list.by_tag[self.nodes[i].tag]
    if item and item.place < place then return false end
    place = item and item.place or place
  end
  return true
end

function Items:check_presence()
  if not self.list.complete then return end
  for _, item in ipairs(self.list.items) do
    local count = self:count(item.tag)
    if count == 0 then self.cursor:remark("%s is missing", item.name) end
    if count > 1 then self.cursor:remark("%s is repeated", item.name) end
  end
  if not self:are_in_order() then self.cursor:remark("the items are not in their order") end
end

function Items:check_count(item)
  for _, node in ipairs(self.nodes) do
    if node.name == item.counted_by then
      if node.has_no_value then return end
      local claimed = self.cursor.buffer(node.at, node.length):le_uint()
      local count = self:count(item.tag)
      if claimed ~= count then
        self.cursor:remark("%s is %d, but there are %d of %s", node.name, claimed, count, item.name)
      end
      return
    end
  end
end

function Items:check_counts()
  for _, item in ipairs(self.list.items) do
    if item.counted_by then self:check_count(item) end
  end
end

-- Up to the cursor's end. False when it is not reached.
function Items.read(cursor, list, nodes)
  local self = setmetatable({ cursor = cursor, list = list, nodes = nodes, first = #nodes + 1 }, Items)
  while cursor:left() > 0 and not self:take_end() do
    local outcome = self:read_item()
    if outcome == "unreadable" then self:give_up() end
    if outcome ~= "read" then return false end
  end
  local remarks = #cursor.remarks
  self:check_presence()
  self:check_counts()
  if #cursor.remarks > remarks then self:hide_all() end
  return true
end
