#include "time/sun_reference.h"

#include <cmath>
#include <numbers>

namespace tess::test {

namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr double kJulianDayOfDate0 = 2415018.5; // 1899-12-30 00:00 UTC

double Sin(double degrees) {
    return std::sin(degrees * kDegree);
}
double Cos(double degrees) {
    return std::cos(degrees * kDegree);
}

struct SolarState {
    double declination;      // degrees
    double equation_of_time; // minutes
};

SolarState SolarAt(double julian_day) {
    const double t = (julian_day - 2451545.0) / 36525.0;
    const double mean_longitude = std::fmod(280.46646 + t * (36000.76983 + t * 0.0003032), 360);
    const double mean_anomaly = 357.52911 + t * (35999.05029 - 0.0001537 * t);
    const double eccentricity = 0.016708634 - t * (0.000042037 + 0.0000001267 * t);
    const double centre = Sin(mean_anomaly) * (1.914602 - t * (0.004817 + 0.000014 * t)) +
                          Sin(2 * mean_anomaly) * (0.019993 - 0.000101 * t) +
                          Sin(3 * mean_anomaly) * 0.000289;
    const double omega = 125.04 - 1934.136 * t;
    const double apparent_longitude = mean_longitude + centre - 0.00569 - 0.00478 * Sin(omega);
    const double mean_obliquity =
        23 + (26 + (21.448 - t * (46.815 + t * (0.00059 - t * 0.001813))) / 60) / 60;
    const double obliquity = mean_obliquity + 0.00256 * Cos(omega);
    const double declination = std::asin(Sin(obliquity) * Sin(apparent_longitude)) / kDegree;
    const double y = std::pow(std::tan(obliquity / 2 * kDegree), 2);
    const double e = eccentricity;
    const double l = mean_longitude;
    const double m = mean_anomaly;
    const double equation = y * Sin(2 * l) - 2 * e * Sin(m) + 4 * e * y * Sin(m) * Cos(2 * l) -
                            0.5 * y * y * Sin(4 * l) - 1.25 * e * e * Sin(2 * m);
    return {declination, 4 * equation / kDegree};
}

} // namespace

bool ReferenceSunEvent(double latitude, double longitude, double date, bool sunrise,
                       double& minutes_utc) {
    const double day = std::floor(date);
    // Start at noon and recompute the sun's position at the event's own time a few times.
    minutes_utc = 720;
    for (int pass = 0; pass < 4; ++pass) {
        const SolarState sun = SolarAt(kJulianDayOfDate0 + day + minutes_utc / 1440);
        const double cos_hour_angle =
            Cos(90.833) / (Cos(latitude) * Cos(sun.declination)) -
            std::tan(latitude * kDegree) * std::tan(sun.declination * kDegree);
        if (cos_hour_angle < -1 || cos_hour_angle > 1) return false;
        const double hour_angle = std::acos(cos_hour_angle) / kDegree;
        minutes_utc =
            720 - 4 * (longitude + (sunrise ? hour_angle : -hour_angle)) - sun.equation_of_time;
    }
    return true;
}

} // namespace tess::test
