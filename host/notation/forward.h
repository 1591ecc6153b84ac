#pragma once

class TavExtendedMessagePort;
class TavKelConverter;
class TavKelParser;
class TavKelValue;
class TavKelValueSet;
class TavMessagePort;
class TavMessagePortManager;
