#include "weather/karvell_properties.h"

namespace tess {

namespace {

using T = PropertyType;
using P = Property<Karvell>;
using K = Karvell;

PropertyTable<Karvell> MakeTable() {
    return PropertyTable<Karvell>(
        {
            P("Enabled", "", "CSVEnabled", T::Boolean, "False")
                .Means("the station's CSV file is polled")
                .Access(&K::CSVEnabled, &K::SetCSVEnabled),
            P("Rate", "", "CSVDelay", T::Double, "15")
                .Range(0, 86400)
                .Units("seconds")
                .Means("between reads of the file; 0 at every update")
                .Access(&K::CSVDelay, &K::SetCSVDelay),
            P("BaseTime", "", "CSVBaseTime", T::TimeOfDay, "00:00:00")
                .Range(0, 86400)
                .Means("anchor of the polling grid after midnight")
                .Access(&K::CSVBaseTime, &K::SetCSVBaseTime),
            P("CSVFileName", "", "CSVFile", T::Path, "")
                .Means("the one-line CSV file the weather program rewrites")
                .Access(&K::CSVFile, [](K& k, std::string value) { k.SetCSVFile(value); }),
            P("WindStatisticsWindow", "", "CSVWindStatisticsInterval", T::Integer, "60")
                .Range(0, 86400)
                .Units("seconds")
                .Means("span of the wind gust and average")
                .Access(&K::CSVWindStatisticsInterval, &K::SetCSVWindStatisticsInterval),
            P("BarometricTrendThreshold", "", "CSVBarometricTrendThreshold", T::Double, "0.05")
                .Means("pressure change that counts as rising or falling")
                .Access(&K::CSVBarometricTrendThreshold, &K::SetCSVBarometricTrendThreshold),
            P("TemperatureTrendThreshold", "", "CSVTemperatureTrendThreshold", T::Double, "1")
                .Means("temperature change that counts as rising or falling")
                .Access(&K::CSVTemperatureTrendThreshold, &K::SetCSVTemperatureTrendThreshold),
            P("BarometerOffset", "", "CSVBarometerOffset", T::Double, "0.00")
                .Means("added to the station's barometer")
                .Access(&K::CSVBarometerOffset, &K::SetCSVBarometerOffset),
            P("Altitude", "", "CSVAltitude", T::Double, "0")
                .Means("station altitude, for the sea-level barometer, in AltitudeUnits")
                .Access(&K::CSVAltitude, &K::SetCSVAltitude),
            P("AltitudeUnits", "", "CSVAltitudeUnits", T::Integer, "0")
                .Range(0, 1)
                .Means("0 metres, 1 feet")
                .Access(&K::CSVAltitudeUnits, &K::SetCSVAltitudeUnits),
            P("TemperatureUnits", "", "CSVTemperatureUnits", T::Integer, "0")
                .Range(0, 1)
                .Means("units of the file's temperatures: 0 Celsius, 1 Fahrenheit")
                .Access(&K::CSVTemperatureUnits, &K::SetCSVTemperatureUnits),
        },
        {"Rate", "Enabled", "BaseTime", "CSVFileName", "WindStatisticsWindow",
         "TemperatureTrendThreshold", "BarometricTrendThreshold", "BarometerOffset", "Altitude",
         "AltitudeUnits", "TemperatureUnits"});
}

} // namespace

const PropertyTable<Karvell>& KarvellProperties() {
    static const PropertyTable<Karvell> table = MakeTable();
    return table;
}

} // namespace tess
