-- A place in a message's body, and what is read there. What is read is a list of fields: their
-- descriptions, places, and whether they are secret. The tree is made from it at last, because
-- bytes behind a field can show that the field is not what it seems.

local function shorten(list, length)
  for i = #list, length + 1, -1 do list[i] = nil end
end

local Cursor = {}
Cursor.__index = Cursor

-- `stop` is the end of the bytes that are there, `claimed_stop` that of the body as its header says.
-- `frame` counts what is listed of it.
function Cursor.new(frame, at, stop, claimed_stop, remarks)
  return setmetatable({ frame = frame, buffer = frame.buffer, at = at, stop = stop,
    claimed_stop = claimed_stop, remarks = remarks }, Cursor)
end

function Cursor:may_list() return self.frame.listed < tables.max_listed end
function Cursor:count_listed(count) self.frame.listed = self.frame.listed + count end

function Cursor:left() return self.stop - self.at end

-- How many of `count` bytes are there.
function Cursor:present(count) return math.min(count, self:left()) end

function Cursor:remark(format, ...)
  self.remarks[#self.remarks + 1] = string.format(format, ...)
end

-- A number `skip` bytes from here.
function Cursor:number(skip, width) return self.buffer(self.at + skip, width):le_uint() end

function Cursor:take_unknown(length)
  local node = { field = undecoded_field, name = "undecoded", at = self.at, length = length,
    secret = true }
  self.at = self.at + length
  return node
end

function Cursor:check_reserved(name, from, to)
  if from >= to or self.buffer(self.at + from, to - from):raw():find("^%z*$") then return end
  self:remark("%s: reserved bytes from %d to %d are not zero", name, from, to - 1)
end

-- Moves over a block. False when the body ends before the block does.
function Cursor:read_block(block, name, nodes)
  local present = self:present(block.size)
  local stop = 0
  for _, row in ipairs(block.rows) do
    self:check_reserved(name, math.min(stop, present), math.min(row.offset, present))
    stop = row.offset + row.width
    if row.offset < present then
      nodes[#nodes + 1] = { field = row.field, name = row.name, at = self.at + row.offset,
        length = math.min(stop, present) - row.offset, secret = stop > present,
        has_no_value = stop > present }
    end
  end
  self:check_reserved(name, math.min(stop, present), present)
  self.at = self.at + present
  self:count_listed(#block.rows)
  if present == block.size then return true end
  self:remark("%s ends after %d of %d bytes", name, present, block.size)
  return false
end
