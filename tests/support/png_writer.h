/// \file png_writer.h
#pragma once
