# An authentication record as Cap'n Proto carries it.
@0xb3f1d9a4c5e68712;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("bench::cap");

struct Record {
  numbers @0 :List(UInt32);
  octets @1 :List(Data);
  texts @2 :List(Text);
  items @3 :List(Data);
}
